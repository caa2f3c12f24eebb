// Packets as the market sends them, invented: records of fixed layout, 96 bytes each, of which one packet of 1500 bytes
// holds fifteen and a part. A record has a type and codes of instrument, market and trader out of short lists, a clock
// that goes on, price and amount as digits with leading zeros, a side, a sequence number, a text that is mostly blanks
// and four binary bytes at its end.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace record_like {

using Packet = std::vector<unsigned char>;

class Records
{
public:
    std::string Next()
    {
        static constexpr std::array<const char*, 12> instruments = {
            "EURUSD      ", "USDMXN      ", "GBPUSD      ", "USDCLP SPOT ", "USDJPY      ", "BONO 260305 ",
            "UDIBONO 2035", "CETES 28D   ", "USDBRL 1M   ", "USDCOP SPOT ", "EURMXN      ", "BONDES D 27 "};
        static constexpr std::array<const char*, 5> traders = {"BNX01 TRADER", "HSB02 DESK  ", "SCO11 TRADER",
                                                               "BBV03 FX    ", "JPM07 TRADER"};
        m_clock += Below(40);
        ++m_sequence;
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(), "Q%c%s%s%02u%02u%02u%02u%010u%08u00%cN%09u%-20s", "BATX"[Below(4)],
                      instruments[Below(instruments.size())], traders[Below(traders.size())], 9 + m_clock / 360000 % 9,
                      m_clock / 6000 % 60, m_clock / 100 % 60, m_clock % 100, 17200000 + Below(5000),
                      (1 + Below(20)) * 500, "BS"[Below(2)], m_sequence, Below(8) == 0 ? "OVERRIDE BY DESK" : "");
        std::string record(line.data());
        record.resize(92, ' ');
        for (int shift = 0; shift < 32; shift += 8) {
            record.push_back(static_cast<char>(m_sequence * 2654435761U >> shift));
        }
        return record;
    }

private:
    unsigned Below(std::size_t bound) { return static_cast<unsigned>(m_random() % bound); }

    std::mt19937 m_random{20240517};
    unsigned m_clock = 0;
    unsigned m_sequence = 104000;
};

inline std::vector<Packet> packets(std::size_t count, std::size_t size)
{
    Records records;
    std::string stream;
    while (stream.size() < count * size) {
        stream += records.Next();
    }
    std::vector<Packet> result;
    for (std::size_t i = 0; i < count; ++i) {
        const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(i * size);
        result.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
    }
    return result;
}

} // namespace record_like
