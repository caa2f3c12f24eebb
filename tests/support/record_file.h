// Record files in a directory of the test's own: stored images, files of cities of 8 bytes, and what a load finds.
#pragma once

#include "persis/pers_file.h"
#include "support/file_size_limit.h"
#include "support/hex.h"
#include "support/report_texts.h"
#include "support/scratch_directory.h"
#include "support/vector_file.h"

#include <gmock/gmock.h>

// A file of tests/data/persis as bytes. "@N" goes to byte N, zeros before it; behind '#' is a comment.
inline std::string StoredImage(const std::string& name)
{
    std::string image;
    for (const std::string& line : read_lines("persis/" + name + ".hex")) {
        for (const std::string& word : words_of(line.substr(0, line.find('#')))) {
            if (word.front() == '@') {
                image.resize(std::stoul(word.substr(1)));
            } else {
                image += FromHex(word);
            }
        }
    }
    return image;
}

class RecordFileTest : public testing::Test
{
protected:
    using Texts = std::vector<std::string>;
    static constexpr unsigned city_size = 8;
    static constexpr std::size_t distance = 258; // of the slots of cities

    RecordFileTest() { PERSIS_SetErrFunction(nullptr); }

    void Put(const std::string& image) { directory.write("cities", image); }
    [[nodiscard]] std::string Bytes() const { return directory.read("cities"); }
    [[nodiscard]] std::string BytesAt(std::size_t offset, std::size_t count) const
    {
        return ToHex(Bytes().substr(offset, count));
    }
    [[nodiscard]] static std::size_t HeaderAt(unsigned slot) { return distance * slot; }
    [[nodiscard]] static std::size_t DataAt(unsigned slot) { return distance * slot + 150; }

    // The file with other bytes at a place.
    void Patch(std::size_t offset, const std::string& hex)
    {
        std::string image = Bytes();
        const std::string bytes = FromHex(hex);
        image.replace(offset, bytes.size(), bytes);
        Put(image);
    }

    static std::string Value(unsigned number) { return "RECORD-" + std::to_string(number % 10); }
    static int Save(CPersFile& file, unsigned slot, const std::string& value = "")
    {
        const std::string bytes = value.empty() ? Value(slot) : value;
        return file.Save_Record(slot, bytes.data(), "\x44\x33\x22\x11\x88\x77\x66\x55");
    }

    // "SLOT VALUE IDENTITY" of the live records.
    static Texts Load(CPersFile& file)
    {
        Texts live;
        std::string value(std::max(file.m_rec_size, 1U), '?');
        std::string identity(8, '?');
        for (unsigned slot = 1; file.Load_Next_Record(&slot, value.data(), identity.data()) != 0; ++slot) {
            live.push_back(std::to_string(slot) + " " + value.substr(0, value.find('\0')) + " " + ToHex(identity));
        }
        return live;
    }
    // The same of the file as it is, by a process of its own.
    static Texts LoadAnew(unsigned rec_size = city_size)
    {
        CPersFile file(PERS_CITY_CODE, "cities", rec_size);
        return file.Open(DO_NOT_RENAME) != 0 ? Load(file) : Texts{"doesn't open"};
    }

    ScratchDirectory directory;
    ReportTexts reports;
    CPersFile cities{PERS_CITY_CODE, "cities", city_size};
};
