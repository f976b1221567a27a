target_sources(ruvo_ctl_tests PRIVATE ruvoctl/catalogue_test.cpp)
