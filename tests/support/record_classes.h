// The record classes of the tree beside what is pinned of them.
#pragma once

#include "records/all_records.h"
#include "support/record_layout_file.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

// The class of a name, null if the tree hasn't got it.
inline const RecordClass* record_class(const std::string& name)
{
    for (const RecordClass& candidate : All_Record_Classes()) {
        if (candidate.name == name) {
            return &candidate;
        }
    }
    return nullptr;
}

// The id of a symbol, -1 if the catalogue hasn't got it.
inline int field_id_of(const std::string& symbol)
{
    static const std::map<std::string, int> ids = [] {
        std::map<std::string, int> made;
        for (int id = 0; id < MAX_FIELDS_DEFINED; ++id) {
            made[Field_Symbol(id)] = id;
        }
        return made;
    }();
    const auto found = ids.find(symbol);
    return found != ids.end() ? found->second : -1;
}

// One test for each pinned class.
class RecordClassTest : public testing::TestWithParam<PinnedClass>
{
protected:
    void SetUp() override
    {
        m_class = record_class(m_pinned.name);
        ASSERT_NE(m_class, nullptr) << m_pinned.name;
    }

    [[nodiscard]] const RecordLayout& layout() const { return m_class->layout(); }

    // One that owns its buffer.
    [[nodiscard]] CMessage& record()
    {
        if (m_record == nullptr) {
            m_record = m_class->make(nullptr);
        }
        return *m_record;
    }

    const PinnedClass& m_pinned = GetParam();

private:
    const RecordClass* m_class = nullptr;
    std::unique_ptr<CMessage> m_record;
};

inline std::string name_of_class(const testing::TestParamInfo<PinnedClass>& info)
{
    return info.param.name;
}
