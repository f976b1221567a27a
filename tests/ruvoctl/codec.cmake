target_sources(ruvo_ctl_tests PRIVATE
  ruvoctl/decode_forms_test.cpp
  ruvoctl/decode_verb_test.cpp
  ruvoctl/encode_notation_test.cpp
  ruvoctl/encode_verb_test.cpp
  ruvoctl/notation_test.cpp)
