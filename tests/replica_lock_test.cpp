// The lock of the replicas: what happens under it, and threads that change and follow references at once.
#include "tblproc/replica_lock.h"

#include "support/report_texts.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ReplicaLocks, AReportUnderOneIsDeliveredWhenItIsGone)
{
    const ReportTexts reports;
    {
        const ReplicaLock lock;
        COMMON_Put_Syslog_Message(1, "a record is replaced");
        EXPECT_THAT(ReportTexts::Take(), IsEmpty());
    }
    EXPECT_THAT(ReportTexts::Take(), ElementsAre("1 a record is replaced"));
}

TEST(ReplicaLocks, OneIsGoneWhenAReportIsDelivered)
{
    static bool could_lock;
    could_lock = false;
    Set_Report_Host_Sink([](int, char*) {
        if (The_Replica_Mutex.try_lock()) {
            could_lock = true;
            The_Replica_Mutex.unlock();
        }
    });
    {
        const ReplicaLock lock;
        COMMON_Put_Syslog_Message(1, "a record is replaced");
    }
    Set_Report_Host_Sink(nullptr);
    EXPECT_TRUE(could_lock);
}

// ---- Threads -----------------------------------------------------------------------------------------------------

// A city's name and letter change together: "aaaa..." and 'a', then "bbbb..." and 'b', and so on.
constexpr int cities = 40;
constexpr int rounds = 40;

std::string code_of_city(int number)
{
    return {'C', static_cast<char>('A' + number / 10), static_cast<char>('0' + number % 10)};
}

struct City : CGTCity
{
    City(int number, int round)
    {
        const char letter = static_cast<char>('a' + round % 26);
        (*this)[CODIGO_3C_CITY].Set_Text(code_of_city(number));
        (*this)[NOMBRE_CITY_1].Set_Text(std::string(20, letter));
        (*this)[LETRA_CIUDAD_CITY].Set_Text(std::string(1, letter));
        (*this)[REC_IDX] = static_cast<unsigned>(number + 1);
    }
};

// A user of the same kind: name and office change together.
struct User : CGTUser
{
    explicit User(int round)
    {
        const char letter = static_cast<char>('a' + round % 26);
        (*this)[CODIGO_USUARIO].Set_Text("U123");
        (*this)[NOMBRE_COMPLETO].Set_Text(std::string(30, letter));
        (*this)[CARGO].Set_Text(std::string(30, letter));
        (*this)[REC_IDX] = 1U;
    }
};

std::string copy_of(CField& field)
{
    std::array<char, 64> text{};
    field.GetStr(text.data(), 0, text.size());
    return text.data();
}

// What a host reads of a city and a user over fields of an order of its own.
class Reader
{
public:
    // True if what it read was one whole city, or none.
    bool Reads_Whole_City(int number)
    {
        m_order[CIUDAD].Set_Text(code_of_city(number));
        const ReplicaLock lock;
        const std::string name = copy_of(*m_order.Find_Field("ciudad.nombre"));
        const std::string letter = copy_of(*m_order.Find_Field("ciudad.letra_ciudad"));
        return name == (letter.empty() ? "" : std::string(20, letter[0]));
    }

    bool Reads_Whole_User()
    {
        m_order[USUARIO].Set_Text("U123");
        const ReplicaLock lock;
        const std::string name = copy_of(*m_order.Find_Field("usuario.nombre_completo"));
        return name == copy_of(*m_order.Find_Field("usuario.cargo"));
    }

private:
    CMsgOrder m_order;
};

class ReplicaThreads : public testing::Test
{
protected:
    ReplicaThreads()
    {
        TableWorld::Subscribe_All();
        Flag_Mailboxes();
    }

    // The reader thread's work in a session: takes all cities in, changes them, takes every other out, and now and then
    // all of them; and a user, who goes with the connection.
    static void Change_Replicas()
    {
        for (int round = 0; round < rounds; ++round) {
            for (int number = 0; number < cities; ++number) {
                City city(number, round);
                const ReplicaLock lock;
                if (Glb_City_Table->Update_Local_Record(&city) == nullptr) {
                    Glb_City_Table->Insert_Local_Record(&city, nullptr);
                } else if ((number + round) % 2 == 0) {
                    Glb_City_Table->Delete_Local_Record(&city);
                }
            }
            User user(round);
            const ReplicaLock lock;
            Glb_User_Table->Insert_Local_Record(&user, nullptr);
            if (round % 8 == 7) {
                Glb_City_Table->Delete_All_Records();
            }
        }
    }

    // Fills and takes from a mailbox as the reader and the host do.
    void Use_Mailbox()
    {
        CMsgChat chat;
        chat[TEXTO_CHAT].Set_Text("good morning");
        for (int round = 0; round < rounds * 4; ++round) {
            unsigned number = 0;
            {
                const ReportHold reports_wait;
                const std::lock_guard lock(mailbox_mutex);
                number = Glb_Chat_Message_Table->Insert_Local_Record(&chat, nullptr)->m_unic_number;
            }
            const ReportHold reports_wait;
            const std::lock_guard lock(mailbox_mutex);
            CMsgChat* stored = Glb_Chat_Message_Table->Find_By_Idx(number);
            whole_mailbox = whole_mailbox && (stored == nullptr || copy_of((*stored)[TEXTO_CHAT]) == "good morning");
        }
    }

    void Clean_Tables()
    {
        for (int round = 0; round < rounds; ++round) {
            qapi::Clear_Tables_Of_The_Connection(mailbox_mutex);
        }
    }

    TableWorld world;
    std::mutex mailbox_mutex;
    bool whole_mailbox = true; // by the thread of Use_Mailbox
};

TEST_F(ReplicaThreads, ReadersOfAPathSeeWholeRecordsWhileTheyChange)
{
    std::atomic<bool> done = false;
    std::atomic<int> torn = 0;
    const auto read_until_done = [&done, &torn] {
        Reader reader;
        for (int number = 0; !done; number = (number + 1) % cities) {
            torn += reader.Reads_Whole_City(number) && reader.Reads_Whole_User() ? 0 : 1;
        }
    };
    std::thread first_host(read_until_done);
    std::thread second_host(read_until_done);
    std::thread mailbox([this] { Use_Mailbox(); });
    std::thread cleaner([this] { Clean_Tables(); });
    Change_Replicas();
    mailbox.join();
    cleaner.join();
    done = true;
    first_host.join();
    second_host.join();
    EXPECT_EQ(torn, 0);
    EXPECT_TRUE(whole_mailbox);
}

// A replica without the flag for silence tells each record that it replaces, while a host's OnError follows a path.
TEST_F(ReplicaThreads, AHostMayFollowAPathInOnError)
{
    static std::atomic<int> heard;
    heard = 0;
    Set_Report_Host_Sink([](int, char*) {
        Reader reader;
        heard += reader.Reads_Whole_City(3) ? 1 : 1000000;
    });
    for (int round = 0; round < 26; ++round) {
        City city(3, round);
        const ReplicaLock lock;
        Glb_City_Table->Insert_Local_Record(&city, nullptr);
    }
    Set_Report_Host_Sink(nullptr);
    EXPECT_EQ(heard, 25);
    EXPECT_EQ(TableWorld::Records_In(TableId::Glb_City_Table), 1);
}

// A record that has just gone stays readable as it was: who holds the lock sees nothing move.
TEST_F(ReplicaThreads, APathIsReadToItsEndBeforeTheTableChanges)
{
    City before(0, 0);
    Glb_City_Table->Insert_Local_Record(&before, nullptr);
    CMsgOrder order;
    order[CIUDAD].Set_Text(code_of_city(0));
    std::thread changer;
    std::string name;
    {
        const ReplicaLock lock;
        CField* field = order.Find_Field("ciudad.nombre");
        changer = std::thread([] {
            City after(0, 1);
            const ReplicaLock changing;
            Glb_City_Table->Update_Local_Record(&after);
        });
        name = copy_of(*field);
    }
    changer.join();
    EXPECT_EQ(name, std::string(20, 'a'));
    const ReplicaLock lock;
    EXPECT_EQ(copy_of(*order.Find_Field("ciudad.nombre")), std::string(20, 'b'));
}

} // namespace
