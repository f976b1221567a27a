#include "bench/rebuild/model.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ruvo::bench {
namespace {

using Field = ModelRecord::Field;

constexpr std::array<std::pair<std::string_view, Field>, 7> kFields{{{"Count", Field::kCount},
                                                                     {"XMLfield", Field::kXmlField},
                                                                     {"Protocol", Field::kProtocol},
                                                                     {"Delay", Field::kDelay},
                                                                     {"IP", Field::kIp},
                                                                     {"Port", Field::kPort},
                                                                     {"Data", Field::kData}}};
constexpr std::int64_t kNsPerMs = 1'000'000;

std::int32_t number_of(std::string_view text) {
    std::int32_t number = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

unsigned digit_of(char digit) {
    if (digit <= '9') return static_cast<unsigned>(digit - '0');
    return static_cast<unsigned>(digit | 0x20) - 'a' + 10;
}

std::string bytes_of(std::string_view hex) {
    std::string bytes(hex.size() / 2, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(digit_of(hex[2 * i]) << 4 | digit_of(hex[2 * i + 1]));
    }
    return bytes;
}

std::optional<ModelRecord> record_of(std::string_view line) {
    const auto separator = line.find('=');
    if (separator == std::string_view::npos) return {};
    std::string_view key = line.substr(0, separator);
    const auto last = key.find_last_not_of("0123456789");
    const std::string_view digits = key.substr(last + 1);
    key.remove_suffix(digits.size());
    for (const auto& [word, field] : kFields) {
        if (!key.ends_with(word)) continue;
        std::string_view value = line.substr(separator + 1);
        if (value.ends_with('\n')) value.remove_suffix(1);
        return ModelRecord{std::string(key.substr(0, key.size() - word.size())), field,
                           digits.empty() ? -1 : number_of(digits), std::string(value)};
    }
    return {};
}

std::vector<ModelRecord> read_records(std::FILE* file) {
    std::vector<ModelRecord> records;
    std::array<char, 2048> line;
    while (std::fgets(line.data(), static_cast<int>(line.size()), file) != nullptr) {
        if (auto record = record_of(line.data())) records.push_back(*std::move(record));
    }
    return records;
}

void fill_step(EventEntry& entry, const ModelRecord& record) {
    const auto index = static_cast<std::size_t>(record.index);
    if (index >= entry.subCommands.size()) return;
    SubCommand& step = entry.subCommands[index];
    switch (record.field) {
        case Field::kIp:
            step.ip = record.value;
            break;
        case Field::kPort:
            step.port = record.value;
            break;
        case Field::kProtocol:
            step.protocol = record.value;
            break;
        case Field::kData:
            step.data = bytes_of(record.value);
            break;
        case Field::kDelay:
            step.delayNs = number_of(record.value) * kNsPerMs;
            step.delayFromExecNs =
                step.delayNs + (index > 0 ? entry.subCommands[index - 1].delayFromExecNs : 0);
            break;
        case Field::kCount:
        case Field::kXmlField:
            break;
    }
}

void fill(EventEntry& entry, const ModelRecord& record) {
    if (record.index >= 0) {
        fill_step(entry, record);
    } else if (record.field == Field::kXmlField) {
        entry.xmlField = record.value;
    } else if (record.field == Field::kDelay) {
        entry.delay = number_of(record.value);
    }
}

}  // namespace

Model build_model(std::FILE* file) {
    Model model{read_records(file), {}};
    std::unordered_map<std::string_view, std::size_t> by_name;
    for (const ModelRecord& record : model.records) {
        if (record.field != Field::kCount || record.index >= 0) continue;
        by_name[record.name] = model.list.size();
        EventEntry& entry = model.list.emplace_back();
        entry.name = record.name;
        entry.xmlField = record.name;
        entry.subCommands.resize(static_cast<std::size_t>(number_of(record.value)));
    }
    for (const ModelRecord& record : model.records) {
        const auto found = by_name.find(record.name);
        if (found != by_name.end()) fill(model.list[found->second], record);
    }
    return model;
}

}  // namespace ruvo::bench
