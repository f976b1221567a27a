# target_sources(ruvo_ctl PRIVATE ...)
