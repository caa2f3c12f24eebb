// References beside a plain model, which knows from tables of its own what makes a key and what a table holds: those of
// all record classes over random bytes, the receivers of random chats, and paths through random tables.
#include "qcapi/prefix.h"

#include "records/all_records.h"
#include "support/log_session.h"
#include "support/record_links.h"
#include "support/reference_model.h"
#include "support/table_world.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <climits>
#include <iterator>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace reference_model;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr int no_record = 1; // the status of a call that found none

// What a reference gives.
struct Answer
{
    int class_id = 0;                // of the record, 0 for none
    const CMessage* named = nullptr; // the record, if a table has it
    int status = no_record;
    int element = 0; // at which the field stands

    bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer)
{
    return out << "class " << answer.class_id << ", of a table: " << answer.named << ", status " << answer.status
               << ", element " << answer.element;
}

// As fields do: the status says that there is no record unless the reference sets another.
Answer follow(CField& field, int index, int flag)
{
    Answer answer;
    const auto* record = static_cast<CMessage*>(field.Do_Reference_Call(index, flag, &answer.status));
    if (record != nullptr) {
        answer.class_id = record->m_message_id;
        answer.named = record->m_table_ptr != nullptr ? record : nullptr;
    }
    answer.element = field.m_index;
    return answer;
}

class Random
{
public:
    explicit Random(unsigned seed) : m_random(seed) {}
    int Below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }
    bool Toss() { return Below(2) == 0; }
    void Fill(char* bytes, int count, int lowest)
    {
        std::generate_n(bytes, count, [&] { return static_cast<char>(lowest + Below(256 - lowest)); });
    }

private:
    std::mt19937 m_random;
};

// ---- All references of all classes -----------------------------------------------------------------------------

// A record of random bytes, one of whose fields is followed. Bits of the seed tell what the tables have for it.
class RandomReference
{
public:
    RandomReference(const RecordClass& from, const FieldPlace& place, unsigned seed)
        : m_is_known((seed & 1) != 0), m_is_subscribed((seed & 2) != 0), m_is_asked((seed & 4) != 0),
          m_is_full((seed & 8) != 0), m_random(seed), m_record(from.make(nullptr)),
          m_reference(*reference_of(place.field_id)), m_field((*m_record)[place.field_id])
    {
        m_random.Fill(m_record->m_data + 3, m_record->Buffer_Size() - 3, 1);
        m_record->Forget_Values();
        if (!m_is_full) {
            m_field.Get_Data_Ptr()[m_field.m_len - 1] = '\0';
        }
        m_is_full = m_field.Get_Data_Ptr()[m_field.m_len - 1] != '\0'; // a policy may lead to empty bytes
        Subscribe();
        Fill_Table();
    }

    Answer Follow() { return follow(m_field, m_random.Below(300) - 5, m_is_asked ? 1 : 0); }

    Answer Of_Model()
    {
        const bool is_found = m_is_known && Is_In_Force();
        return {m_reference.kind.make()->m_message_id, is_found ? m_named : nullptr, is_found ? 0 : no_record, 0};
    }

    [[nodiscard]] bool Is_Told() const { return Is_In_Force() && !m_is_known && m_is_asked && m_is_full; }
    [[nodiscard]] std::string Line() const
    {
        return "ER-Referenced Field was not found while searching Global Table. Field Id: (" +
               std::to_string(m_field.m_field_id) + "). Field Name: (" +
               (m_field.m_field_name != nullptr ? m_field.m_field_name : "") + ")";
    }

private:
    [[nodiscard]] bool Is_In_Force() const { return m_reference.kind.type == 0 || m_is_subscribed; }

    // The other types as it comes.
    void Subscribe()
    {
        for (int type = 1; type < MAX_CODE_ID; ++type) {
            Glb_subscribed_code_table_id[type] = m_random.Toss() ? 1U : 0U;
        }
        if (m_reference.kind.type != 0) {
            Glb_subscribed_code_table_id[m_reference.kind.type] = m_is_subscribed ? 1U : 0U;
        }
    }

    // Records of which a byte at an end of a part is another, and the one that is named.
    void Fill_Table()
    {
        const Parts code = code_in(*m_record, m_field, m_reference);
        for (std::size_t part = 0; part < code.size(); ++part) {
            for (const std::size_t at : std::set<std::size_t>{0, code[part].size() - 1}) {
                Parts other = code;
                other[part][at] = static_cast<char>(other[part][at] ^ 1);
                put(m_reference.kind, other);
            }
        }
        m_named = m_is_known ? put(m_reference.kind, code) : nullptr;
    }

    bool m_is_known;
    bool m_is_subscribed;
    bool m_is_asked; // to tell of a code that names no record
    bool m_is_full;  // the code fills its field
    Random m_random;
    std::unique_ptr<CMessage> m_record;
    const ModelReference& m_reference;
    CField& m_field;
    CMessage* m_named = nullptr;
};

void empty_tables()
{
    for (const GlobalTable& table : All_Global_Tables()) {
        if (table.get().Used_Num_Records() != 0) {
            table.delete_all_records();
        }
    }
}

class ReferenceModel : public LogSession
{
protected:
    ReferenceModel() { Start(); }

    void Expect_Agreement(const RecordClass& from, const FieldPlace& place, unsigned seed)
    {
        RandomReference reference(from, place, seed);
        EXPECT_EQ(reference.Follow(), reference.Of_Model())
            << "seed " << seed << ", " << from.name << " " << Field_Symbol(place.field_id);
        if (reference.Is_Told()) {
            lines.push_back(reference.Line());
        }
        empty_tables();
    }

    TableWorld world;
    std::vector<std::string> lines; // that the log should have
};

TEST_F(ReferenceModel, KnowsAllReferencesThatFieldsOfClassesHave)
{
    std::set<int> met;
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace& place : each.layout().Fields()) {
            met.insert(index_of(place.field_id));
        }
    }
    std::set<int> known = {REF_NONE, REF_SCHEME, REF_RECEIVER};
    for (const ModelReference& reference : model_references) {
        known.insert(reference.index);
    }
    EXPECT_EQ(met, known);
}

TEST_F(ReferenceModel, EveryReferenceOfEveryClassAgreesInAllCircumstances)
{
    constexpr unsigned seeds = 32; // all circumstances twice
    for (const RecordClass& each : All_Record_Classes()) {
        for (const FieldPlace& place : each.layout().Fields()) {
            for (unsigned seed = 0; seed < seeds && reference_of(place.field_id) != nullptr; ++seed) {
                Expect_Agreement(each, place, seed);
            }
        }
    }
    EXPECT_THAT(Bodies(), ElementsAreArray(lines));
}

// ---- Chats of random bytes -------------------------------------------------------------------------------------

constexpr int receiver_length = 8;
constexpr int most_receivers = 200;

class ChatModel : public LogSession
{
protected:
    ChatModel()
    {
        Start();
        for (char first = 'A'; first < 'U'; ++first) {
            for (auto& [letter, receivers] : kinds) {
                const std::string code = Code(first).substr(0, receivers.length);
                if (first % receivers.each == 0) {
                    receivers.known[code] = put(receivers.kind, {code});
                }
            }
        }
    }

    void Scramble()
    {
        random.Fill(chat.m_data + 3, chat.Buffer_Size() - 3, 0);
        for (int element = 1; element <= most_receivers; ++element) {
            if (random.Toss()) {
                Code(static_cast<char>('A' + random.Below(24))).copy(Place_Of(element), receiver_length);
            }
        }
        *Place_Of(TIPO_RECEPTORES_CHAT, 0) = "USMXus1\0"[random.Below(8)];
        chat.Forget_Values();
        Choose_Number();
    }

    int Any_Index()
    {
        const std::array<int, 6> indexes = {random.Below(6) - 2,
                                            195 + random.Below(10),
                                            1 + random.Below(200),
                                            1 + random.Below(200),
                                            INT_MIN,
                                            INT_MAX};
        return indexes[static_cast<std::size_t>(random.Below(6))];
    }

    Answer Of_Model(int index)
    {
        if (index < 1) {
            return {0, nullptr, no_record, receptor.m_index};
        }
        if (index > number || index > most_receivers) {
            return {};
        }
        const auto found = kinds.find(*Place_Of(TIPO_RECEPTORES_CHAT, 0));
        if (found == kinds.end()) {
            return {0, nullptr, no_record, index};
        }
        const Receivers& receivers = found->second;
        const auto known = receivers.known.find(std::string(Place_Of(index), receivers.length));
        return {receivers.kind.make()->m_message_id, known != receivers.known.end() ? known->second : nullptr, 2,
                index};
    }

    Random random{0};
    CMsgChat chat;
    CField& receptor = chat[RECEPTOR_CHAT];

private:
    struct Receivers
    {
        const ModelKind& kind;
        std::size_t length; // bytes of a receiver that are its code
        int each;           // that many letters, one is known
        std::map<std::string, CMessage*> known = {};
    };

    static std::string Code(char first) { return {first, 'A', first, 'B', 'C', 'D', first, 'E'}; }

    char* Place_Of(int field_id, int offset) { return chat.m_data + chat[field_id].m_displacement + offset; }
    char* Place_Of(int element) { return Place_Of(RECEPTOR_CHAT, (element - 1) * receiver_length); }

    // As the bytes say, or about as many as there is room for, or few.
    void Choose_Number()
    {
        if (random.Below(4) != 0) {
            chat[NUMERO_RECEPTORES_CHAT] = random.Toss() ? 198 + random.Below(6) : random.Below(5);
        }
        number = chat[NUMERO_RECEPTORES_CHAT];
    }

    TableWorld world;
    std::map<char, Receivers> kinds = {{'U', {users, 4, 2}}, {'S', {branches, 8, 1}}, {'M', {markets, 3, 3}}};
    int number = 0;
};

TEST_F(ChatModel, ReceiversOfRandomBytesAgree)
{
    for (unsigned seed = 0; seed < 2000; ++seed) {
        random = Random(seed);
        Scramble();
        for (int i = 0; i < 50; ++i) {
            const int index = Any_Index();
            const Answer expected = Of_Model(index);
            ASSERT_EQ(follow(receptor, index, 1), expected) << "seed " << seed << ", receiver " << index;
        }
    }
    EXPECT_THAT(Bodies(), IsEmpty());
}

// ---- Random tables ---------------------------------------------------------------------------------------------

const ModelKind* const kinds_of_tables[] = {
    &branches,  &users,        &institutions, &super_groups, &primaries,  &cities,   &markets,   &currencies,
    &countries, &instructions, &voice_groups, &issuers,      &principals, &trustees, &employees, &sub_principals};

// An order and tables of few codes, so that many name a record.
class RandomTables
{
public:
    explicit RandomTables(unsigned seed) : m_random(seed)
    {
        for (int type = 1; type < MAX_CODE_ID; ++type) {
            Glb_subscribed_code_table_id[type] = m_random.Below(5) != 0 ? 1U : 0U;
        }
        for (const ModelKind* kind : kinds_of_tables) {
            for (int records = m_random.Below(3); records > 0; --records) {
                Put_One(*kind);
            }
        }
        Write_Codes(m_order);
    }

    CMsgOrder& Order() { return m_order; }

    [[nodiscard]] std::vector<std::string> Paths()
    {
        std::vector<std::string> paths;
        Add_Paths(m_order, "", paths);
        return paths;
    }

    struct Way
    {
        std::string to_record; // with a '.' at its end, unless it is the order
        const char* name;
        CField* field;
    };

    // Down from the order through fields that may lead on. Where a table lacks the record, the way leads through the
    // library's empty one.
    Way Any_Way()
    {
        std::string path;
        CMessage* record = &m_order;
        while (true) {
            CField& field = Any_Field(*record);
            if (reference_of(field.m_field_id) == nullptr || m_random.Below(8) == 0) {
                return {path, field.m_field_name, &field};
            }
            path += std::string(field.m_field_name) + '.';
            CMessage* named = Named_By(*record, field);
            record = named != nullptr ? named : static_cast<CMessage*>(field.Do_Reference_Call(0, 0, nullptr));
        }
    }

private:
    std::string Code(int length)
    {
        std::string code(static_cast<std::size_t>(length), 'A');
        code.back() = length == 1 ? 'N' : "0011001\0"[m_random.Below(8)];
        return code;
    }

    void Write_Code(CMessage& record, const FieldPlace& place)
    {
        Code(place.len).copy(record.m_data + place.displacement, static_cast<std::size_t>(place.len));
    }

    // Into all fields that lead somewhere, and those that are read beside them.
    void Write_Codes(CMessage& record)
    {
        for (const FieldPlace& place : record.Layout_In_Force().Fields()) {
            const ModelReference* reference = reference_of(place.field_id);
            if (reference != nullptr) {
                Write_Code(record, place);
                const int beside = reference->sources.front();
                Write_Code(record, beside != own ? *record.Layout_In_Force().Find(beside) : place);
            }
        }
        record.Forget_Values();
    }

    void Put_One(const ModelKind& kind)
    {
        const auto record = kind.make();
        Write_Codes(*record);
        Parts code;
        std::string key;
        for (const int field_id : kind.key) {
            code.push_back(Code((*record)[field_id].m_len));
            key += code.back();
        }
        m_tables[&kind][key] = put(*record, kind, code);
    }

    // The record that a field's code names, null if the tables have none.
    CMessage* Named_By(CMessage& record, CField& field)
    {
        const ModelReference* reference = reference_of(field.m_field_id);
        if (reference == nullptr ||
            (reference->kind.type != 0 && Glb_subscribed_code_table_id[reference->kind.type] == 0)) {
            return nullptr;
        }
        std::string key;
        for (const std::string& part : code_in(record, field, *reference)) {
            key += part;
        }
        const auto& table = m_tables[&reference->kind];
        const auto found = table.find(key);
        return found != table.end() ? found->second : nullptr;
    }

    void Add_Paths(CMessage& record, const std::string& prefix, std::vector<std::string>& paths)
    {
        for (const FieldPlace* place : record.Layout_In_Force().Named()) {
            paths.push_back(prefix + place->name);
            if (CMessage* named = Named_By(record, record[place->field_id])) {
                Add_Paths(*named, paths.back() + '.', paths);
            }
        }
    }

    // One that leads on, if there is one, more often than another.
    CField& Any_Field(CMessage& record)
    {
        std::vector<const FieldPlace*> places(record.Layout_In_Force().Named().begin(),
                                              record.Layout_In_Force().Named().end());
        const auto leading = std::partition(places.begin(), places.end(), [](const FieldPlace* place) {
            return reference_of(place->field_id) != nullptr;
        });
        const bool leads = leading != places.begin() && m_random.Below(4) != 0;
        const auto count = static_cast<int>(leads ? leading - places.begin() : std::ssize(places));
        return record[places[static_cast<std::size_t>(m_random.Below(count))]->field_id];
    }

    TableWorld m_world;
    Random m_random;
    std::map<const ModelKind*, std::map<std::string, CMessage*>> m_tables;
    CMsgOrder m_order;
};

TEST(TablesModel, WalksVisitTheSamePaths)
{
    for (unsigned seed = 0; seed < 80; ++seed) {
        RandomTables tables(seed);
        const std::vector<std::string> expected = tables.Paths();
        const ReplicaLock lock;
        const std::vector<std::string> paths = Walk_All(tables.Order(), expected.size() + 1);
        const auto [path, wanted] = std::mismatch(paths.begin(), paths.end(), expected.begin(), expected.end());
        ASSERT_EQ(path != paths.end() ? *path : "end", wanted != expected.end() ? *wanted : "end") << "seed " << seed;
    }
}

TEST(TablesModel, AnyPathIsFoundAlike)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        RandomTables tables(seed);
        const ReplicaLock lock;
        for (int i = 0; i < 100; ++i) {
            const auto [to_record, name, field] = tables.Any_Way();
            ASSERT_EQ(tables.Order().Find_Field((to_record + name).c_str()), field)
                << "seed " << seed << ", path " << to_record << name;
            ASSERT_EQ(tables.Order().Find_Field((to_record + "no_such_field").c_str()), nullptr)
                << "seed " << seed << ", in " << to_record;
        }
    }
}

} // namespace
