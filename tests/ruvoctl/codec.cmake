target_sources(ruvo_ctl_tests PRIVATE
  ruvoctl/notation_test.cpp)
