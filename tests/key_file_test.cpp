#include "crypt/crypt.h"

#include "support/hex.h"
#include "support/key_store_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <sys/resource.h>

namespace {

const std::string current_record = RecordBytes(key_of_a, "01022003");
const std::string future_in_2024 = RecordBytes(key_of_b, "05012024");
const std::string today = "14112023";
const std::string tomorrow = "15112023";
const std::string no_future(1600, 'x'); // as good as random: decrypted, its marks differ

const unsigned short init_value_at_start = init_value; // before any fixture sets it

bool NothingPrivate()
{
    const auto wiped = [](const key_data& key) {
        return AllZero(key.v_d) && AllZero(key.v_p) && AllZero(key.v_q) && AllZero(key.v_u);
    };
    return wiped(Actual_Key) && wiped(Future_Key) && AllZero(EK) && AllZero(DK);
}

class KeyFile : public KeyStoreTest
{
protected:
    void WriteCurrentAndFuture(const std::string& future)
    {
        WriteFile(current_record, EncryptedRecord(future, "secret"));
    }
};

TEST_F(KeyFile, ResultIsElevenBeforeTheFirstInit)
{
    EXPECT_EQ(init_value_at_start, 11);
}

TEST_F(KeyFile, OpensWithItsPassphrase)
{
    WriteCurrentAndFuture(future_in_2024);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(init_value, 0);
    EXPECT_EQ(global_precision, 18U);
    EXPECT_EQ(PublicKey(0), PublicKeyOf(key_of_a, "20030201", "EQ01"));
    EXPECT_EQ(PublicKey(1), PublicKeyOf(key_of_b, "20240105", "EQ01"));
}

TEST_F(KeyFile, SetsThePrecisionOfItsKeys)
{
    WriteCurrentAndFuture(future_in_2024);
    global_precision = 40;
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(global_precision, 18U);
}

TEST_F(KeyFile, LoadsEveryNumber)
{
    WriteFile(current_record, no_future);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(Actual_Key.v_n[0], 0x02DADA11U);
    EXPECT_EQ(Actual_Key.v_n[15], 0xB642B5F3U);
    EXPECT_EQ(Actual_Key.v_n[16], 0U);
    EXPECT_EQ(Actual_Key.v_e[0], 0x10001U);
    EXPECT_EQ(Actual_Key.v_d[0], 0xC0096001U);
    EXPECT_EQ(Actual_Key.v_p[0], 0x438EE7E1U);
    EXPECT_EQ(Actual_Key.v_q[0], 0x35AF7831U);
    EXPECT_EQ(Actual_Key.v_u[0], 0x38B75D79U);
}

TEST_F(KeyFile, AFutureKeyOfALaterDayChangesNothing)
{
    WriteCurrentAndFuture(future_in_2024);
    const std::string before = FileBytes();
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(FileBytes(), before);
    EXPECT_EQ(CurrentRecord(), current_record);
}

TEST_F(KeyFile, AFutureKeyOfTomorrowWaits)
{
    WriteCurrentAndFuture(RecordBytes(key_of_b, tomorrow));
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), current_record);
}

TEST_F(KeyFile, AFutureKeyOfTodayMovesUpAndLeavesNone)
{
    const std::string future = RecordBytes(key_of_b, today);
    WriteCurrentAndFuture(future);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), future);
    EXPECT_EQ(FileBytes().substr(1600, 400), std::string(400, '.'));
    EXPECT_EQ(PublicKey(0), PublicKeyOf(key_of_b, "20231114", "EQ01"));
    EXPECT_EQ(PublicKey(1), std::string(80, '\0'));
    EXPECT_NE(FutureRecord(), future);

    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), future);
    EXPECT_EQ(PublicKey(1), std::string(80, '\0'));
}

TEST_F(KeyFile, TheRecordOfNoFutureKeyIsRandomAndStandsAsItIs)
{
    system.calls.random_bytes = [](void* target, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            static_cast<char*>(target)[i] = static_cast<char>(i * 7);
        }
    };
    WriteCurrentAndFuture(RecordBytes(key_of_b, today));
    ASSERT_EQ(Init(), 0);
    std::string expected(1600, '\0');
    for (std::size_t i = 0; i < expected.size(); ++i) {
        expected[i] = static_cast<char>(i * 7);
    }
    EXPECT_EQ(FileBytes().substr(future_offset), expected);
}

TEST_F(KeyFile, RandomMarksThatAgreeByChanceAreParted)
{
    system.calls.random_bytes = [](void* target, std::size_t count) { std::memset(target, 0xFF, count); };
    WriteCurrentAndFuture(RecordBytes(key_of_b, today));
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(ToHex(FileBytes().substr(future_offset, 9)), "ffffffffff00ffffff");
    EXPECT_EQ(PublicKey(1), std::string(80, '\0'));
}

TEST_F(KeyFile, TheDayBeginsInLocalTime)
{
    setenv("TZ", "LATER-2", 1); // 00:13 of the 15th
    tzset();
    const std::string future = RecordBytes(key_of_b, tomorrow);
    WriteCurrentAndFuture(future);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), future);
}

TEST_F(KeyFile, TheDayEndsInLocalTime)
{
    setenv("TZ", "EARLIER23", 1); // 23:13 of the 13th
    tzset();
    WriteCurrentAndFuture(RecordBytes(key_of_b, today));
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), current_record);
}

TEST_F(KeyFile, EarlierYearsMonthsAndDaysArePast)
{
    for (const char* date : {"31122022", "31102023", "13112023", "01010001"}) {
        const std::string future = RecordBytes(key_of_b, date);
        WriteCurrentAndFuture(future);
        EXPECT_EQ(Init(), 0);
        EXPECT_EQ(CurrentRecord(), future) << date;
    }
}

TEST_F(KeyFile, LaterYearsMonthsAndDaysAreNot)
{
    for (const char* date : {"01012024", "01122023", "31122023", "99999999"}) {
        WriteCurrentAndFuture(RecordBytes(key_of_b, date));
        EXPECT_EQ(Init(), 0);
        EXPECT_EQ(CurrentRecord(), current_record) << date;
    }
}

TEST_F(KeyFile, ADateThatIsNotThreeNumbersNeverComes)
{
    for (const std::string& date : {std::string("xx012003"), std::string("0101year"), std::string("01      "),
                                    std::string("        "), std::string(8, '\0'), std::string("0101\0\0\0\0", 8)}) {
        WriteCurrentAndFuture(RecordBytes(key_of_b, date));
        EXPECT_EQ(Init(), 0);
        EXPECT_EQ(CurrentRecord(), current_record) << date;
    }
}

TEST_F(KeyFile, AFutureRecordOfBadMarksIsNoKey)
{
    const std::string future = EncryptedRecord(RecordBytes(key_of_b, "01012000", "GoodGooD"), "secret");
    WriteFile(current_record, future);
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(CurrentRecord(), current_record);
    EXPECT_EQ(FileBytes().substr(future_offset), future);
    EXPECT_EQ(PublicKey(1), std::string(80, '\0'));
}

TEST_F(KeyFile, AWrongPassphraseWritesNothingAndLeavesNothingPrivate)
{
    WriteCurrentAndFuture(RecordBytes(key_of_b, today));
    const std::string before = FileBytes();
    EXPECT_EQ(Init("Secret", "new"), 10);
    EXPECT_EQ(init_value, 10);
    EXPECT_EQ(FileBytes(), before);
    EXPECT_EQ(PublicKey(0), std::string(80, '\0'));
    EXPECT_TRUE(NothingPrivate());
}

TEST_F(KeyFile, AFailedInitLeavesNoPrivateKeyOfAnEarlierOne)
{
    WriteCurrentAndFuture(future_in_2024);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(Init("Secret"), 10);
    EXPECT_TRUE(NothingPrivate());
}

TEST_F(KeyFile, AMissingFileLeavesTheKeysOfAnEarlierInit)
{
    WriteCurrentAndFuture(future_in_2024);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(crypt_init("no such file", "EQ01", "secret", nullptr), 6);
    EXPECT_EQ(init_value, 6);
    EXPECT_EQ(PublicKey(0), PublicKeyOf(key_of_a, "20030201", "EQ01"));
    EXPECT_FALSE(NothingPrivate());
}

TEST_F(KeyFile, OnlySixteenBytesOfAPassphraseCount)
{
    WriteFile(current_record, no_future, "sixteen bytes ok");
    EXPECT_EQ(Init("sixteen bytes ok, and more"), 0);
    EXPECT_EQ(Init("sixteen bytes o"), 10);
}

TEST_F(KeyFile, BytesOfAPassphraseWrap)
{
    WriteFile(current_record, no_future, "\xFF\xFE");
    EXPECT_EQ(Init("\xFF\xFE"), 0);
    EXPECT_EQ(EK[0], 0x00FF);
    EXPECT_EQ(EK[1], 0x0101);
}

TEST_F(KeyFile, AnEmptyPassphraseIsOneLikeAnyOther)
{
    WriteFile(current_record, no_future, "");
    EXPECT_EQ(Init(""), 0);
}

TEST_F(KeyFile, AMissingFileIsSix)
{
    EXPECT_EQ(Init(), 6);
    EXPECT_FALSE(scratch.has(file_name));
}

TEST_F(KeyFile, ADirectoryIsSix)
{
    std::filesystem::create_directory(scratch.path(file_name));
    EXPECT_EQ(Init(), 6);
}

TEST_F(KeyFile, AShortCurrentRecordIsNine)
{
    scratch.write(file_name, EncryptedRecord(current_record, "secret").substr(0, 1599));
    EXPECT_EQ(Init(), 9);
    scratch.write(file_name, "");
    EXPECT_EQ(Init(), 9);
}

TEST_F(KeyFile, AShortFutureRecordIsNineAndLeavesNothingPrivate)
{
    WriteFile(current_record, no_future.substr(1));
    EXPECT_EQ(Init(), 9);
    EXPECT_TRUE(NothingPrivate());
}

TEST_F(KeyFile, AnEmptyCurrentKeyIsElevenAndStillTellsItsPublicNumbers)
{
    RsaKeyText empty = key_of_a;
    empty.n = "100000000"; // a first unit of 0
    WriteFile(RecordBytes(empty, "01022003"), EncryptedRecord(future_in_2024, "secret"));
    const std::string before = FileBytes();
    EXPECT_EQ(Init("secret", "new"), 11);
    EXPECT_EQ(FileBytes(), before);
    EXPECT_EQ(PublicKey(1), PublicKeyOf(key_of_b, "20240105", "EQ01"));
    EXPECT_TRUE(NothingPrivate());
}

TEST_F(KeyFile, AFutureKeyIsMovedUpBeforeAnEmptyKeyIsSeen)
{
    RsaKeyText empty = key_of_b;
    empty.n = "0";
    WriteCurrentAndFuture(RecordBytes(empty, today));
    EXPECT_EQ(Init(), 11);
    EXPECT_EQ(CurrentRecord(), RecordBytes(empty, today));
}

TEST_F(KeyFile, ANewPassphraseReplacesTheOldOneForBothRecords)
{
    WriteCurrentAndFuture(future_in_2024);
    EXPECT_EQ(Init("secret", "better"), 0);
    EXPECT_EQ(CurrentRecord("better"), current_record);
    EXPECT_EQ(FutureRecord("better"), future_in_2024);
    EXPECT_EQ(FileBytes().substr(1600, 400), std::string(400, '.'));
    EXPECT_EQ(PublicKey(0), PublicKeyOf(key_of_a, "20030201", "EQ01"));
    EXPECT_EQ(Init("secret"), 10);
    EXPECT_EQ(Init("better"), 0);
}

TEST_F(KeyFile, ANewPassphraseKeepsARecordOfNoFutureKeyBad)
{
    WriteFile(current_record, no_future);
    EXPECT_EQ(Init("secret", "better"), 0);
    EXPECT_EQ(FutureRecord("better"), DecryptedRecord(no_future, "secret"));
    EXPECT_EQ(PublicKey(1), std::string(80, '\0'));
}

TEST_F(KeyFile, AnIdentityIsFourBytesLeastSignificantFirst)
{
    WriteFile(current_record, no_future);
    crypt_init(file_name, "ABCDE", "secret", nullptr);
    EXPECT_EQ(this_equip, 0x44434241U);
    crypt_init(file_name, "A", "secret", nullptr);
    EXPECT_EQ(this_equip, 0x41U);
    crypt_init(file_name, "", "secret", nullptr);
    EXPECT_EQ(this_equip, 0U);
}

// In a child: the limit and the signal's fate are the whole process's. Leaves the result as the exit code.
[[noreturn]] void InitUnderAFileLimit(rlim_t limit, const char* new_passphrase)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limits{limit, limit};
    setrlimit(RLIMIT_FSIZE, &limits);
    const int result = crypt_init("keys", "EQ01", "secret", new_passphrase);
    std::_Exit(NothingPrivate() ? result : 99);
}

TEST_F(KeyFile, AWriteThatFailsIsFiveAndLeavesNothingPrivate)
{
    WriteCurrentAndFuture(RecordBytes(key_of_b, today));
    EXPECT_EXIT(InitUnderAFileLimit(0, nullptr), testing::ExitedWithCode(5), "");
    EXPECT_EQ(CurrentRecord(), current_record);
}

TEST_F(KeyFile, AFailedWriteOfTheFutureRecordIsFiveAndTheMovedKeyStays)
{
    const std::string future = RecordBytes(key_of_b, today);
    WriteCurrentAndFuture(future);
    EXPECT_EXIT(InitUnderAFileLimit(2000, nullptr), testing::ExitedWithCode(5), "");
    EXPECT_EQ(CurrentRecord(), future);
    EXPECT_EQ(FutureRecord(), future);
}

TEST_F(KeyFile, AFailedChangeOfThePassphraseIsFive)
{
    WriteCurrentAndFuture(future_in_2024);
    EXPECT_EXIT(InitUnderAFileLimit(3000, "better"), testing::ExitedWithCode(5), "");
    EXPECT_EQ(CurrentRecord(), current_record); // the future record comes first
}

} // namespace
