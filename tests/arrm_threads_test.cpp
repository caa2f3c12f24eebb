// Rings between threads: nothing lost, doubled or reordered, and who waits for whom.
#include "support/ring_fixture.h"
#include "support/thread_rest.h"

#include <atomic>
#include <csignal>
#include <numeric>
#include <thread>

namespace {

struct Item
{
    int producer;
    int number;
};

void put(CMss_Arr& ring, Item item)
{
    ring.Collect(22, reinterpret_cast<const char*>(&item), sizeof item, nullptr, nullptr);
}

void put_in_place(CMss_Arr& ring, Item item)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    std::memcpy(buffer, &item, sizeof item);
    ring.Take_Collect(sizeof item);
}

bool take(CMss_Arr& ring, Item& item)
{
    std::array<char, rec_len> bytes{};
    int len = 0;
    if (ring.Withdraw(bytes.data(), &len, nullptr, nullptr) == -1) {
        return false;
    }
    std::memcpy(&item, bytes.data(), sizeof item);
    return true;
}

bool take_in_place(CMss_Arr& ring, Item& item)
{
    char* buffer = nullptr;
    int len = 0;
    if (ring.Init_Withdraw(&buffer, &len, nullptr, nullptr) == -1) {
        return false;
    }
    std::memcpy(&item, buffer, sizeof item);
    ring.Take_Withdraw();
    return true;
}

std::vector<int> first_numbers(int count)
{
    std::vector<int> numbers(static_cast<unsigned>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

class RingThreadsTest : public RingTest
{
protected:
    static constexpr int per_producer = 20'000;

    // Each gives `put_one` its numbers in order.
    template <typename Put> std::thread Producer(int id, Put put_one)
    {
        return std::thread([this, id, put_one] {
            for (int i = 0; i < per_producer; ++i) {
                put_one(ring, Item{id, i});
            }
        });
    }
};

TEST_F(RingThreadsTest, TwoProducersReachOneConsumerCompleteAndEachInOrder)
{
    std::thread copying = Producer(0, put);
    std::thread in_place = Producer(1, put_in_place);
    std::array<std::vector<int>, 2> got;
    for (int left = 2 * per_producer; left > 0;) {
        Item item{};
        if (ring.Wait_For_Any_Pkt() != 0 && take(ring, item)) {
            got[static_cast<unsigned>(item.producer)].push_back(item.number);
            --left;
        }
    }
    copying.join();
    in_place.join();
    EXPECT_EQ(got[0], first_numbers(per_producer));
    EXPECT_EQ(got[1], first_numbers(per_producer));
    EXPECT_EQ(Take(), "-");
    EXPECT_EQ(inside.Posts(), 0);
    EXPECT_EQ(Counters(), (Counts{2 * per_producer, 2 * per_producer, 0, 0, 0}));
}

TEST_F(RingThreadsTest, TwoConsumersOfDifferentKindsShareTheRecordsWithoutLossOrDeadlock)
{
    std::atomic<int> left{2 * per_producer};
    const auto consume = [this, &left](auto take_one, std::vector<Item>& got) {
        while (left > 0) {
            Item item{};
            if (take_one(ring, item)) {
                got.push_back(item);
                --left;
            }
        }
    };
    std::array<std::vector<Item>, 2> got;
    std::thread copying = Producer(0, put);
    std::thread in_place = Producer(1, put_in_place);
    std::thread other_consumer([&] { consume(take_in_place, got[1]); });
    consume(take, got[0]);
    for (std::thread* thread : {&copying, &in_place, &other_consumer}) {
        thread->join();
    }
    std::array<std::vector<int>, 2> numbers;
    for (const auto& items : got) {
        std::array<int, 2> last{-1, -1};
        for (const Item& item : items) {
            EXPECT_LT(last[static_cast<unsigned>(item.producer)], item.number);
            last[static_cast<unsigned>(item.producer)] = item.number;
            numbers[static_cast<unsigned>(item.producer)].push_back(item.number);
        }
    }
    for (auto& of_producer : numbers) {
        std::sort(of_producer.begin(), of_producer.end());
        EXPECT_EQ(of_producer, first_numbers(per_producer));
    }
}

TEST_F(RingThreadsTest, DroppedAndWithdrawTogetherRemoveEachRecordOnce)
{
    std::thread producer = Producer(0, put);
    std::thread dropper([this] {
        while (ring.Get_Total_Withdrawn() + ring.Get_Total_Dropped() < per_producer) {
            ring.Dropped();
        }
    });
    int last = -1;
    Item item{};
    while (ring.Get_Total_Withdrawn() + ring.Get_Total_Dropped() < per_producer) {
        if (take(ring, item)) {
            EXPECT_LT(last, item.number);
            last = item.number;
        }
    }
    producer.join();
    dropper.join();
    EXPECT_EQ(Take(), "-");
    EXPECT_EQ(ring.Get_Total_Withdrawn() + ring.Get_Total_Dropped(), unsigned{per_producer});
    EXPECT_EQ(ring.Get_Total_Pending(), 0U);
}

TEST_F(RingThreadsTest, RecordsFromBeforeAnInitializeNeverComeBack)
{
    constexpr int generations = 5'000;
    std::atomic<int> emptied{0};
    std::thread consumer([this, &emptied] {
        Item item{};
        for (int known = 0; known < generations; known = emptied) {
            if (take(ring, item)) {
                EXPECT_GT(item.number, known);
            }
            known = emptied;
            if (take_in_place(ring, item)) {
                EXPECT_GT(item.number, known);
            }
            ring.Dropped();
        }
    });
    for (int generation = 1; generation <= generations; ++generation) {
        for (int i = 0; i < 3; ++i) {
            put(ring, {0, generation});
        }
        ring.Initialize();
        emptied = generation;
    }
    consumer.join();
    EXPECT_EQ(Take(), "-");
}

TEST_F(RingThreadsTest, InitializeKeepingLosesNoStopWhileOthersWork)
{
    constexpr int stops = 2'000;
    std::thread orders = Producer(0, put);
    std::thread stopper([this] {
        for (int i = 0; i < stops; ++i) {
            ring.Collect(27, reinterpret_cast<const char*>(&i), sizeof i, nullptr, nullptr);
        }
    });
    std::thread emptier([this] {
        for (int i = 0; i < stops; ++i) {
            ring.Initialize_Keeping(27);
        }
    });
    std::vector<int> got;
    while (got.size() < stops) {
        std::array<char, rec_len> bytes{};
        int len = 0;
        ring.Wait_For_Any_Pkt();
        if (ring.Withdraw(bytes.data(), &len, nullptr, nullptr) == 27) {
            int number = 0;
            std::memcpy(&number, bytes.data(), sizeof number);
            got.push_back(number);
        }
    }
    for (std::thread* thread : {&orders, &stopper, &emptier}) {
        thread->join();
    }
    EXPECT_EQ(got, first_numbers(stops));
}

TEST_F(RingThreadsTest, WaitBlocksUntilARecordIsPublished)
{
    int found = -1;
    RestingThread consumer([this, &found] { found = ring.Wait_For_Any_Pkt(); });
    consumer.Wait_For_Rest();
    EXPECT_FALSE(consumer.Ended());
    Put_Numbers(1, 1);
    consumer.Join();
    EXPECT_EQ(found, 1);
}

TEST_F(RingThreadsTest, SignalDoesNotEndTheWait)
{
    static std::atomic<int> signals;
    signals = 0;
    struct sigaction handler = {};
    handler.sa_handler = [](int) { ++signals; };
    sigaction(SIGUSR1, &handler, nullptr);
    int found = -1;
    RestingThread consumer([this, &found] { found = ring.Wait_For_Any_Pkt(); });
    consumer.Wait_For_Rest();
    pthread_kill(consumer.Handle(), SIGUSR1);
    while (signals == 0) {
        std::this_thread::yield();
    }
    consumer.Wait_For_Rest();
    Put_Numbers(1, 1);
    consumer.Join();
    EXPECT_EQ(found, 1);
}

TEST_F(RingThreadsTest, OtherProducersWaitForALentBufferAndConsumersDoNot)
{
    Put_Numbers(1, 1);
    char* buffer = nullptr;
    ring.Init_Collect(2, &buffer);
    RestingThread producer([this] { Put_Numbers(3, 1); });
    std::thread consumer([this] { Expect_Numbers(1, 1); });
    consumer.join();
    producer.Wait_For_Rest();
    EXPECT_FALSE(producer.Ended());
    Write(buffer, "record 2");
    ring.Take_Collect(8);
    producer.Join();
    Expect_Numbers(2, 2);
}

TEST_F(RingThreadsTest, InitializeWaitsForAProducerWithALentBuffer)
{
    char* buffer = nullptr;
    ring.Init_Collect(22, &buffer);
    RestingThread emptier([this] { ring.Initialize(); });
    emptier.Wait_For_Rest();
    EXPECT_FALSE(emptier.Ended());
    ring.Take_Collect(8);
    emptier.Join();
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    EXPECT_EQ(inside.Posts(), 0);
}

TEST_F(RingThreadsTest, InitializeWaitsForAConsumerThatReadsARecord)
{
    Put_Numbers(1, 3);
    char* buffer = nullptr;
    int len = 0;
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    RestingThread emptier([this] { ring.Initialize(); });
    emptier.Wait_For_Rest();
    EXPECT_FALSE(emptier.Ended());
    ring.Take_Withdraw();
    emptier.Join();
    EXPECT_EQ(ring.Is_Any_Pkt(), 0);
    Put_Numbers(7, 1);
    Expect_Numbers(7, 1);
}

TEST_F(RingThreadsTest, RecordBeingReadStaysWhileAnotherThreadGrowsTheRing)
{
    Turn(3);
    Put_Numbers(0, 5);
    char* buffer = nullptr;
    int len = 0;
    ring.Init_Withdraw(&buffer, &len, nullptr, nullptr);
    std::thread producer([this] { Put_Numbers(5, 200); });
    while (ring.Get_Total_Num_Records() < 192) {
        EXPECT_EQ(std::string(buffer, static_cast<unsigned>(len)), "record 0");
    }
    producer.join();
    ring.Take_Withdraw();
    Expect_Numbers(1, 204);
}

} // namespace
