target_sources(ruvo_ctl_tests PRIVATE
  ruvoctl/catalogue_test.cpp
  ruvoctl/check_caution_test.cpp
  ruvoctl/check_clean_test.cpp
  ruvoctl/check_counts_test.cpp
  ruvoctl/check_data_test.cpp
  ruvoctl/check_delays_test.cpp
  ruvoctl/check_fatal_test.cpp
  ruvoctl/check_file_form_test.cpp
  ruvoctl/check_generated_test.cpp
  ruvoctl/check_keys_test.cpp
  ruvoctl/check_lost_steps_test.cpp
  ruvoctl/check_steps_test.cpp
  ruvoctl/check_triggers_test.cpp
  ruvoctl/corrected_copy_test.cpp
  ruvoctl/corrected_steps_test.cpp
  ruvoctl/report_test.cpp)
