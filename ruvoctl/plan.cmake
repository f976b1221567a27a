target_sources(ruvo_ctl PRIVATE
  plan/escaped_bytes.cpp
  plan/local_time_text.cpp
  plan/plan.cpp
  plan/plan_event.cpp
  plan/plan_json.cpp
  plan/plan_status.cpp
  plan/plan_svg.cpp
  plan/plan_text.cpp
  plan/plan_words.cpp
  plan/time_axis.cpp
  plan/timeline.cpp
  plan_verb.cpp)
