// What a log source gives.
#pragma once

#include "replay/log_source.h"

#include <memory>
#include <string>
#include <vector>

// All records that are left, as a translation has them, and "end" or "beyond" behind the last.
inline std::vector<std::string> Read_All(LogSource& source)
{
    std::vector<std::string> records;
    const auto record = std::make_unique<ExpandedRecord>();
    LogSource::Step step = source.Next(*record);
    for (; step == LogSource::Step::record; step = source.Next(*record)) {
        records.emplace_back(record->bytes());
    }
    records.emplace_back(step == LogSource::Step::end ? "end" : "beyond");
    return records;
}
