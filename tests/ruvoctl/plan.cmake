target_sources(ruvo_ctl_tests PRIVATE
  ruvoctl/plan_destination_test.cpp
  ruvoctl/plan_event_test.cpp
  ruvoctl/plan_json_test.cpp
  ruvoctl/plan_local_time_test.cpp
  ruvoctl/plan_status_report_test.cpp
  ruvoctl/plan_status_test.cpp
  ruvoctl/plan_svg_test.cpp
  ruvoctl/plan_text_test.cpp
  ruvoctl/plan_verb_test.cpp
  ruvoctl/timeline_test.cpp
  ruvoctl/trigger_bytes_test.cpp
  ruvoctl/trigger_request_test.cpp)
