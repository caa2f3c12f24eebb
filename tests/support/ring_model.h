// A ring beside a plain deque that does the same. Each step runs one operation on both and then compares everything
// that can be seen, so that the first difference is told with the operation that made it.
#pragma once

#include "arrm.h"
#include "support/ring_access.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

class RingModel
{
public:
    static constexpr int record_length = 24;
    static constexpr int operations = 9;

    explicit RingModel(int slots) : m_ring(slots, record_length, CMSS_FIFO), m_inside(m_ring), m_slots(slots) {}

    // Runs the operation `choice` % operations; `amount` serves as length, status and content. Returns what differs,
    // empty if nothing does.
    std::string Step(unsigned choice, unsigned amount)
    {
        m_difference.clear();
        m_step = choice % operations;
        const int len = static_cast<int>(amount % (record_length + 4)) - 2;
        const int status = static_cast<int>(amount % 3);
        switch (m_step) {
        case 0:
        case 1:
            Collect(status, len);
            break;
        case 2:
            Collect_In_Place(status, len);
            break;
        case 3:
            Withdraw();
            break;
        case 4:
            Withdraw_In_Place(amount % 4, status, len);
            break;
        case 5:
            m_ring.Dropped();
            Remove(m_dropped);
            break;
        case 6:
            Look();
            break;
        default:
            Empty(amount);
            break;
        }
        Compare_State();
        return m_difference;
    }

private:
    struct Record
    {
        int status;
        std::string bytes;
        bool zeroed; // by Collect; a lent buffer's tail is whatever it was
        const char* source;
    };

    void Check(bool equal, const char* what)
    {
        if (!equal && m_difference.empty()) {
            m_difference = std::string(what) + " differs after operation " + std::to_string(m_step);
        }
    }

    std::string Next_Bytes(int len)
    {
        std::string bytes(static_cast<unsigned>(std::clamp(len, 0, record_length)), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>('!' + m_content++ % 90);
        }
        return bytes;
    }

    void Add(Record record)
    {
        if (static_cast<int>(m_records.size()) == m_slots - 1) {
            m_slots *= 2;
        }
        ++m_posts;
        if (record.bytes.size() > 4) {
            ++m_collected;
            ++m_pending;
        }
        m_records.push_back(std::move(record));
    }

    void Remove(unsigned& counter)
    {
        if (m_records.empty()) {
            return;
        }
        if (m_records.front().bytes.size() > 4) {
            --m_pending;
            ++counter;
        } else {
            ++m_data_packets;
        }
        m_records.pop_front();
    }

    void Collect(int status, int len)
    {
        std::string bytes = Next_Bytes(len);
        const char* source = status == 0 ? nullptr : "source";
        const std::string passed = bytes + std::string(4, '#'); // what stands behind a clipped record's last byte
        m_ring.Collect(status, passed.data(), len, source, nullptr);
        Add({status, std::move(bytes), true, source});
    }

    void Collect_In_Place(int status, int len)
    {
        std::string bytes = Next_Bytes(len);
        char* buffer = nullptr;
        m_ring.Init_Collect(status, &buffer);
        std::memset(buffer, '#', record_length);
        std::copy(bytes.begin(), bytes.end(), buffer);
        m_ring.Take_Collect(len);
        Add({status, std::move(bytes), false, nullptr});
    }

    void Withdraw()
    {
        std::string bytes(record_length, '~');
        int len = -7;
        const int status = m_ring.Withdraw(bytes.data(), &len, nullptr, nullptr);
        if (m_records.empty()) {
            Check(status == -1 && len == -7, "outcome on an empty ring");
            return;
        }
        bytes.resize(static_cast<unsigned>(len));
        Check(status == m_records.front().status, "status");
        Check(bytes == m_records.front().bytes, "record");
        Remove(m_withdrawn);
    }

    // Producers go on while the record is being read.
    void Withdraw_In_Place(unsigned collects, int status, int collected_len)
    {
        char* buffer = nullptr;
        int len = 0;
        const int got = m_ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
        if (m_records.empty()) {
            Check(got == -1, "outcome on an empty ring");
            return;
        }
        const Record expected = m_records.front();
        for (unsigned i = 0; i < collects; ++i) {
            Collect(status, collected_len);
        }
        Check(got == expected.status, "status");
        Check(std::string(buffer, static_cast<unsigned>(len)) == expected.bytes, "record");
        std::memset(buffer, '#', record_length);
        m_ring.Take_Withdraw();
        Remove(m_withdrawn);
    }

    void Look()
    {
        const bool posted = m_posts > 0;
        m_posts -= posted ? 1 : 0;
        Check(m_ring.Check_For_Any_Pkt_Without_Wait() == (posted && !m_records.empty() ? 1 : 0), "look");
    }

    // Seldom, so that the ring also grows.
    void Empty(unsigned amount)
    {
        if (amount % 16 != 0) {
            return;
        }
        const int kept_status = m_step == 7 ? -5 : static_cast<int>(amount / 16 % 3);
        if (m_step == 7) {
            m_ring.Initialize();
        } else {
            m_ring.Initialize_Keeping(kept_status);
        }
        std::deque<Record> before;
        before.swap(m_records);
        m_collected = m_pending = m_withdrawn = m_dropped = 0;
        m_posts = 0;
        for (Record& record : before) {
            if (record.status == kept_status) {
                Add(std::move(record));
            }
        }
    }

    void Compare_State()
    {
        Check(m_ring.Get_Total_Num_Records() == m_slots, "number of slots");
        Check(m_ring.Is_Any_Pkt() == (m_records.empty() ? 0 : 1), "first look");
        Check(m_inside.Posts() == m_posts, "semaphore");
        Check(m_ring.Get_Total_Collected() == m_collected, "collected");
        Check(m_ring.Get_Total_Withdrawn() == m_withdrawn, "withdrawn");
        Check(m_ring.Get_Total_Pending() == m_pending, "pending");
        Check(m_ring.Get_Total_Dropped() == m_dropped, "dropped");
        Check(m_ring.Get_Total_DataPacket() == m_data_packets, "data packets");
        const std::vector<const Mss_Rec*> live = m_inside.Live();
        Check(live.size() == m_records.size(), "number of records");
        for (std::size_t i = 0; i < std::min(live.size(), m_records.size()); ++i) {
            Compare_Record(*live[i], m_records[i]);
        }
    }

    void Compare_Record(const Mss_Rec& slot, const Record& record)
    {
        Check(slot.status == record.status, "status of a waiting record");
        Check(slot.len == static_cast<int>(record.bytes.size()), "length of a waiting record");
        std::string image = record.bytes;
        if (record.zeroed) {
            Check(slot.source == record.source, "source of a waiting record");
            image.resize(record_length, '\0');
        }
        Check(std::equal(image.begin(), image.end(), slot.buf.get()), "bytes of a waiting record");
    }

    CMss_Arr m_ring;
    CMss_Arr_Test_Access m_inside;
    int m_slots;
    std::deque<Record> m_records;
    int m_posts = 0;
    unsigned m_collected = 0;
    unsigned m_withdrawn = 0;
    unsigned m_pending = 0;
    unsigned m_dropped = 0;
    unsigned m_data_packets = 0;
    unsigned m_content = 0;
    unsigned m_step = 0;
    std::string m_difference;
};
