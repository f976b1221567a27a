# target_sources(ruvo_ctl_tests PRIVATE ruvoctl/..._test.cpp)
