// A record's identity: the CRC-32 of one field and the environment it comes from.
#include "message/message.h"
#include "qcapi/support.h"
#include "records/all_records.h"
#include "records/reference.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr unsigned our_environment = 7;

// A table that holds records of the given identities.
class TableOf : public CTableBase
{
public:
    explicit TableOf(std::vector<DLONG> identities = {}) : m_identities(std::move(identities)) {}
    CMessage* Get_Record_By_Env_Crc32(DLONG identity) override
    {
        for (const DLONG& taken : m_identities) {
            if (taken == identity) {
                return &m_record;
            }
        }
        return nullptr;
    }
    int Do_We_Maintain_It() override { return 1; }

private:
    std::vector<DLONG> m_identities;
    CGTCity m_record;
};

class MessageIdentity : public testing::Test
{
protected:
    MessageIdentity() { Glb_range_environment = our_environment; }
    ~MessageIdentity() override { Glb_range_environment = 0; }

    static unsigned crc_of(const CMessage& city) { return COMMON_Get_Crc32(city.m_data + 22, 135, 0); }
    static DLONG in_buffer(CMessage& city)
    {
        return {static_cast<unsigned>(city[CRC32]), static_cast<unsigned>(city[ENVIRONMENT])};
    }

    TableOf m_table;
    CGTCity m_city;
};

TEST_F(MessageIdentity, WithoutATableNothingHappens)
{
    EXPECT_EQ(m_city.Init_Crc32(), 0);
    EXPECT_EQ(in_buffer(m_city), DLONG{});
    EXPECT_TRUE(m_city.m_env_crc32.is_zero());
}

TEST_F(MessageIdentity, IsTheCrcOfTheDataFieldInOurEnvironment)
{
    m_city.Set_Owner_Table_Data(&m_table, 0);
    m_city[CODIGO_3C_CITY] = "QTO";
    EXPECT_EQ(m_city.Init_Crc32(), 1);
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{crc_of(m_city), our_environment}));
    EXPECT_EQ(in_buffer(m_city), m_city.m_env_crc32);
    EXPECT_EQ(m_city.Init_Crc32(), 0) << "nothing changed";
}

TEST_F(MessageIdentity, HeaderNumberAndTailDoNotCount)
{
    m_city.Set_Owner_Table_Data(&m_table, 0);
    m_city.Init_Crc32();
    const DLONG before = m_city.m_env_crc32;
    m_city[REC_IDX] = 5U;
    m_city[I_OP] = "x";
    m_city.m_data[m_city.m_data_len] = 'x';
    EXPECT_EQ(m_city.Init_Crc32(), 0);
    EXPECT_EQ(m_city.m_env_crc32, before);
}

TEST_F(MessageIdentity, EveryInitOfAClassWithAnIdentityRefreshesIt)
{
    m_city.Set_Owner_Table_Data(&m_table, 0);
    CGTCity other;
    other[CODIGO_3C_CITY] = "GYE";
    m_city = other;
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{crc_of(other), our_environment}));
}

TEST_F(MessageIdentity, IsRefreshedByTheClassesThatHaveAFieldForIt)
{
    for (const RecordClass& each : All_Record_Classes()) {
        const auto record = each.make(nullptr);
        EXPECT_EQ(dynamic_cast<CHashedRecord*>(record.get()) != nullptr, each.layout().Crc32_Field() != nullptr)
            << each.name;
    }
}

TEST_F(MessageIdentity, ClassesWithoutOneLeaveItAlone)
{
    CGTRates rate;
    rate.Set_Owner_Table_Data(&m_table, 0);
    rate.Init();
    EXPECT_TRUE(rate.m_env_crc32.is_zero());
    EXPECT_EQ(rate.Init_Crc32(), 0);
}

TEST_F(MessageIdentity, RecordOfAnotherEnvironmentKeepsItsOwn)
{
    m_city.Set_Owner_Table_Data(&m_table, 0);
    m_city[ENVIRONMENT] = 9U;
    m_city[CRC32] = 1234U;
    EXPECT_EQ(m_city.Init_Crc32(), 0);
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{1234, 9}));
    EXPECT_EQ(in_buffer(m_city), (DLONG{1234, 9}));
}

TEST_F(MessageIdentity, IdentityToUseIsTakenOnce)
{
    m_city.Set_Owner_Table_Data(&m_table, 0);
    m_city.m_env_crc32_to_use = {55, 66};
    EXPECT_EQ(m_city.Init_Crc32(), 1);
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{55, 66}));
    EXPECT_EQ(in_buffer(m_city), (DLONG{55, 66}));
    EXPECT_TRUE(m_city.m_env_crc32_to_use.is_zero());
}

TEST_F(MessageIdentity, OneThatIsTakenIsCountedUpInOurEnvironment)
{
    const unsigned crc = crc_of(m_city);
    TableOf full({{crc, our_environment}, {crc + 1, our_environment}});
    m_city.Set_Owner_Table_Data(&full, 0);
    EXPECT_EQ(m_city.Init_Crc32(), 1);
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{crc + 2, our_environment}));
    EXPECT_EQ(in_buffer(m_city), m_city.m_env_crc32);
}

TEST_F(MessageIdentity, CountingUpPassesTheEndOfTheNumbers)
{
    TableOf full({{0xFFFFFFFF, 3}});
    m_city.Set_Owner_Table_Data(&full, 0);
    m_city.m_env_crc32_to_use = {0xFFFFFFFF, 3};
    EXPECT_EQ(m_city.Init_Crc32(), 1);
    EXPECT_EQ(m_city.m_env_crc32, (DLONG{0, our_environment}));
}

TEST_F(MessageIdentity, TableTellsWhetherWeMaintainIt)
{
    m_city.Set_Owner_Table_Data(&m_table, 3);
    EXPECT_EQ(m_city.Do_We_Maintain_It(), 1);
    EXPECT_EQ(m_city.m_pos_in_table, 3);
}

} // namespace
