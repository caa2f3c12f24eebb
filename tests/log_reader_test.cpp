// The reader of running logs: sound records, every kind of damage, and input in pieces of any size.
#include "qcapi/log_reader.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

const std::string stamp = "20261120093005";

// A number as it stands in the file, its bytes by hand.
std::string number(std::size_t value)
{
    return {static_cast<char>(value & 255), static_cast<char>(value >> 8 & 255), '\0', '\0'};
}

std::string text_record(const std::string& text)
{
    return stamp + "\0\0"s + number(33 + text.size()) + number(0) + number(text.size()) + number(0) + text + "\n";
}

std::string message_record(const std::string& body, std::size_t data_length, char status = 1)
{
    return stamp + "\5D" + number(33 + body.size()) + number(data_length) + number(body.size()) +
           number(static_cast<std::size_t>(status)) + body + "\n";
}

std::string message_body(const std::string& label, const std::string& packet)
{
    return label + std::string(88 - label.size(), '\0') + packet;
}

std::string describe(const LogEntry& entry)
{
    const std::string place = std::to_string(entry.offset) + "+" + std::to_string(entry.length) + " ";
    switch (entry.kind) {
    case LogEntry::Kind::text:
        return place + "text " + std::string(entry.text);
    case LogEntry::Kind::message:
        return place + "message " + std::string(entry.label) + "/" + std::string(entry.packet);
    case LogEntry::Kind::damage:
        return place + "damage: " + entry.damage;
    }
    return "an unknown kind";
}

std::vector<std::string> read_all(std::string_view input, std::size_t piece = 4096)
{
    const auto reader = std::make_unique<LogReader>([input, piece](std::span<char> room) mutable {
        const std::size_t count = input.copy(room.data(), std::min(piece, room.size()));
        input.remove_prefix(count);
        return count;
    });
    std::vector<std::string> entries;
    for (LogEntry entry; reader->next(entry);) {
        entries.push_back(describe(entry));
    }
    return entries;
}

LogEntry first_of(const std::string& input, std::unique_ptr<LogReader>& reader)
{
    bool taken = false;
    reader = std::make_unique<LogReader>([&input, taken](std::span<char> room) mutable {
        const std::size_t count = taken ? 0 : input.copy(room.data(), room.size());
        taken = true;
        return count;
    });
    LogEntry entry;
    EXPECT_TRUE(reader->next(entry));
    return entry;
}

using Entries = std::vector<std::string>;

TEST(LogReader, ReadsTextsAndMessagesInOrder)
{
    EXPECT_EQ(read_all(text_record("ER-a\nb") + message_record(message_body("RM", "packet"), 6) + text_record("")),
              (Entries{"0+39 text ER-a\nb", "39+127 message RM/packet", "166+33 text "}));
}

TEST(LogReader, HandsOutTheHeader)
{
    std::unique_ptr<LogReader> reader;
    const std::string input = message_record(message_body("RM", "packet"), 6);
    const LogEntry entry = first_of(input, reader);
    EXPECT_EQ(entry.date, "20261120");
    EXPECT_EQ(entry.hour, "093005");
    EXPECT_EQ(entry.priority, 5);
    EXPECT_EQ(entry.source, 'D');
    EXPECT_EQ(entry.packet_length, 6U);
    EXPECT_EQ(entry.form, LogEntry::Form::whole);
}

TEST(LogReader, RecordWithoutATimeHasEmptyDateAndHour)
{
    std::unique_ptr<LogReader> reader;
    const std::string input = std::string(14, '\0') + text_record("t").substr(14);
    const LogEntry entry = first_of(input, reader);
    EXPECT_EQ(entry.text, "t");
    EXPECT_EQ(entry.date, "");
    EXPECT_EQ(entry.hour, "");
}

TEST(LogReader, KnowsACutPacketFromACompressedBody)
{
    std::unique_ptr<LogReader> reader;
    const std::string cut = message_record(message_body("SM", std::string(3179, 'p')), 3180);
    LogEntry entry = first_of(cut, reader);
    EXPECT_EQ(entry.form, LogEntry::Form::cut);
    EXPECT_EQ(entry.packet.size(), 3179U);
    EXPECT_EQ(entry.packet_length, 3180U);

    const std::string compressed = message_record("\0\x1f block"s, 31);
    entry = first_of(compressed, reader);
    EXPECT_EQ(entry.form, LogEntry::Form::unreadable);
    EXPECT_EQ(entry.label, "");
    EXPECT_EQ(entry.packet, "");
    EXPECT_EQ(entry.body, "\0\x1f block"s);
}

// Words 0 and 11 of a body of 96 bytes: the label "RM" and the packet "00042101".
const std::string short_block =
    "\x60"s + std::string(7, '\0') + "\0\0\0\0\0\0\x08\x01"s + std::string(24, '\0') + "RM\0\0\0\0\0\0"s + "00042101";

TEST(LogReader, RestoresACompressedBody)
{
    std::unique_ptr<LogReader> reader;
    const std::string record = message_record(short_block, 8);
    const LogEntry entry = first_of(record, reader);
    EXPECT_EQ(entry.form, LogEntry::Form::compressed);
    EXPECT_EQ(entry.label, "RM");
    EXPECT_EQ(entry.packet, "00042101");
    EXPECT_EQ(entry.body, short_block);
}

TEST(LogReader, ABlockThatDoesNotGiveThePacketsLengthIsUnreadable)
{
    std::unique_ptr<LogReader> reader;
    for (const std::string& record : {message_record(short_block, 9), message_record(short_block.substr(0, 55), 8)}) {
        const LogEntry entry = first_of(record, reader);
        EXPECT_EQ(entry.form, LogEntry::Form::unreadable);
        EXPECT_EQ(entry.packet, "");
    }
}

// 5 of 13 words are zero, which is what the 40 bytes of the block's header cost.
TEST(LogReader, KnowsABlockThatIsAsLongAsItsBody)
{
    std::unique_ptr<LogReader> reader;
    const std::string label(48, 'l');
    const std::string block =
        "\x68"s + std::string(7, '\0') + "\0\0\0\0\0\0\x18\x3f"s + std::string(24, '\0') + label + "packet of 16 byt";
    ASSERT_EQ(block.size(), 104U);
    const std::string record = message_record(block, 16);
    const LogEntry entry = first_of(record, reader);
    EXPECT_EQ(entry.form, LogEntry::Form::compressed);
    EXPECT_EQ(entry.label, label);
    EXPECT_EQ(entry.packet, "packet of 16 byt");

    std::string other = message_body("h", "packet of 16 byt"); // begins with 104 as well
    const std::string whole = message_record(other, 16);
    const LogEntry stored = first_of(whole, reader);
    EXPECT_EQ(stored.form, LogEntry::Form::whole);
    EXPECT_EQ(stored.label, "h");
}

TEST(LogReader, LabelOf72CharactersEndsWhereThePaddingWouldBegin)
{
    EXPECT_EQ(read_all(message_record(message_body(std::string(72, 'l'), "p"), 1)),
              Entries{"0+122 message " + std::string(72, 'l') + "/p"});
}

TEST(LogReader, TranslatedMessageIsStillAMessage)
{
    EXPECT_EQ(read_all(message_record(message_body("RM", "packet"), 6, 0)), Entries{"0+127 message RM/packet"});
}

TEST(LogReader, ReadsTheOtherByteOrder)
{
    const std::string header = stamp + "\5D\0\0\0\x7f\0\0\0\x06\0\0\0\x5e\0\0\0\x01"s;
    const std::string input = header + message_body("RM", "packet") + "\n";
    EXPECT_EQ(input.size(), 127U);
    EXPECT_EQ(read_all(input), Entries{"0+127 message RM/packet"});
}

TEST(LogReader, GoesOnBehindForeignBytes)
{
    EXPECT_EQ(
        read_all("foreign" + text_record("a") + "bytes" + text_record("b")),
        (Entries{"0+7 damage: no date and time", "7+34 text a", "41+5 damage: no date and time", "46+34 text b"}));
}

TEST(LogReader, GoesOnBehindATornRecord)
{
    EXPECT_EQ(read_all(text_record("torn off").substr(0, 35) + text_record("next")),
              (Entries{"0+35 damage: no newline at the record's end", "35+37 text next"}));
}

TEST(LogReader, CrowdedDamageIsOneEntry)
{
    std::string two_bad = text_record("a") + text_record("b");
    two_bad[33] = 'x';
    two_bad[67] = 'x';
    EXPECT_EQ(read_all(two_bad + text_record("c")),
              (Entries{"0+68 damage: no newline at the record's end", "68+34 text c"}));
}

TEST(LogReader, TellsWhyARecordIsNone)
{
    std::string record = text_record("a");
    record[16] = 35;
    EXPECT_EQ(read_all(record), Entries{"0+34 damage: lengths that don't fit together"});
    record = text_record("a");
    record[28] = 2;
    EXPECT_EQ(read_all(record), Entries{"0+34 damage: an unknown status"});
    EXPECT_EQ(read_all(stamp), Entries{"0+14 damage: the input ends inside a header"});
    EXPECT_EQ(read_all(text_record("a").substr(0, 33)), Entries{"0+33 damage: the input ends inside a record"});
}

TEST(LogReader, RefusesARecordLongerThanARingHolds)
{
    EXPECT_EQ(read_all(text_record(std::string(3267, 't'))).front().substr(0, 12), "0+3300 text ");
    EXPECT_EQ(read_all(text_record(std::string(3268, 't'))), Entries{"0+3301 damage: lengths that don't fit together"});
}

TEST(LogReader, EveryTruncationKeepsTheWholeRecords)
{
    const std::string one = text_record("one");
    const std::string input = one + message_record(message_body("RM", "p"), 1);
    for (std::size_t size = one.size() + 1; size < input.size(); ++size) {
        const Entries entries = read_all(input.substr(0, size));
        ASSERT_EQ(entries.size(), 2U);
        EXPECT_EQ(entries[0], "0+36 text one");
        EXPECT_EQ(entries[1].substr(0, entries[1].find(':')), "36+" + std::to_string(size - 36) + " damage");
    }
}

TEST(LogReader, DamagedByteCostsItsOwnRecordAlone)
{
    const std::string input = text_record("one") + text_record("two") + text_record("three");
    for (std::size_t at = 36; at < 72; ++at) {
        std::string damaged = input;
        damaged[at] = static_cast<char>(~damaged[at]);
        const Entries entries = read_all(damaged);
        ASSERT_EQ(entries.size(), 3U) << at;
        EXPECT_EQ(entries[0], "0+36 text one");
        EXPECT_EQ(entries[2], "72+38 text three");
    }
}

TEST(LogReader, InputInPiecesOfAnySizeReadsAlike)
{
    std::string input;
    while (input.size() < 200'000) {
        input += text_record(std::string(input.size() % 3000, 't')) + "junk" +
                 message_record(message_body("RM", std::string(1500, 'p')), 1500);
    }
    const Entries whole = read_all(input, input.size());
    EXPECT_GT(whole.size(), 100U);
    for (const std::size_t piece : {1U, 33U, 3299U, 3300U, 3301U, 65536U}) {
        EXPECT_EQ(read_all(input, piece), whole) << piece;
    }
}

TEST(LogReader, EmptyInputHasNoEntries)
{
    EXPECT_EQ(read_all(""), Entries{});
}

} // namespace
