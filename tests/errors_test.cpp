#include "qcapi/errors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct Row
{
    int code;
    const char* name;
    const char* text;
    const char* advice;
};

const std::vector<Row>& rows()
{
#define ROW(code, name, text, advice) Row{code, #name, text, advice},
    static const std::vector<Row> all{QAPI_ERROR_TABLE(ROW)};
#undef ROW
    return all;
}

TEST(ErrorTable, CodesRunFromOneToTwentyNineWithoutAGap)
{
    ASSERT_EQ(rows().size(), 29U);
    for (std::size_t i = 0; i < rows().size(); ++i) {
        EXPECT_EQ(rows()[i].code, static_cast<int>(i) + 1);
    }
}

TEST(ErrorTable, EveryRowHasANameOfTheFamilyAndAdvice)
{
    for (const Row& row : rows()) {
        EXPECT_EQ(std::string(row.name).rfind("QAPI_ERR_", 0), 0U) << row.code;
        EXPECT_GT(std::strlen(row.advice), 10U) << row.name;
    }
}

TEST(ErrorTable, OnlyCodesFourAndFourteenHaveNoText)
{
    for (const Row& row : rows()) {
        EXPECT_EQ(row.text == nullptr, row.code == 4 || row.code == 14) << row.name;
        if (row.text != nullptr) {
            EXPECT_LT(std::strlen(row.text), static_cast<std::size_t>(QAPI_ERROR_MESSAGE_LEN)) << row.name;
        }
    }
}

TEST(ErrorTable, TheTextsThatHostsMatchAreTheirOwnLetterForLetter)
{
    EXPECT_STREQ(QAPI_ERR_INTERNAL_ERROR_TXT, "Internal system error %d");
    EXPECT_STREQ(QAPI_ERR_CONFIG_NOT_FOUND_TXT, "Config file %s does not exist");
    EXPECT_STREQ(QAPI_ERR_CONFIG_BAD_DATA_TXT, "Config file has incorrect line %d");
    EXPECT_STREQ(QAPI_ERR_ALREADY_INITIALIZED_TXT, "The API was already initiated state %s");
    EXPECT_STREQ(QAPI_ERR_STATUS_NOT_EXPECTED_TXT, "The connection changed to status %d, detail (%s)");
    EXPECT_STREQ(QAPI_ERR_DATE_NOT_EXIST_DS_TXT,
                 "Messages asked of previous date (%s) not received. Shutdown the aplication and try again.");
    EXPECT_STREQ(QAPI_ERR_TMP_CONFIG_BAD_DATA_TXT,
                 "Config file (qapi_tmp_previos_date_log_request.txt) has incorrect line %d");
}

} // namespace
