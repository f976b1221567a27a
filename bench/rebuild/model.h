#pragma once

#include "events/event_entry.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace ruvo::bench {

// A settings line of the usual form, as plainly as it can be kept.
struct ModelRecord {
    enum class Field { kCount, kXmlField, kProtocol, kDelay, kIp, kPort, kData };

    std::string name;
    Field field = Field::kCount;
    std::int32_t index = -1;  // -1 for a line of the event itself
    std::string value;
};

// What a reading leaves behind: the records and the list that they make.
struct Model {
    std::vector<ModelRecord> records;
    std::vector<EventEntry> list;
};

// The least that reads settings of the usual form into the daemon's event list: a record
// a line, one index by name, no rule for what nobody writes on purpose.
Model build_model(std::FILE* file);

}  // namespace ruvo::bench
