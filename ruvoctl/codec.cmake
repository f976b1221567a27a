target_sources(ruvo_ctl PRIVATE
  codec/control_names.cpp
  codec/data_key.cpp
  codec/data_parts.cpp
  codec/data_report.cpp
  codec/decode_input.cpp
  codec/forms.cpp
  codec/hex_numbers.cpp
  codec/notation.cpp
  codec/quoted_notation.cpp
  codec/read_notation.cpp
  codec/text_notation.cpp
  codec/words.cpp
  decode_verb.cpp
  encode_verb.cpp)
