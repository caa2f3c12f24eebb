// Walks and paths over random records beside a plain model, which knows the records' names and links from tables of its
// own and handles paths as strings.
#include "message/message.h"

#include "support/record_links.h"

#include <gtest/gtest.h>

#include <charconv>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

// ---- Model -----------------------------------------------------------------------------------------------------

struct ModelField
{
    int field_id = 0;
    std::string name;
    std::vector<int> to; // records it leads to, none: null
    int status = 1;      // 0 a record, 1 an empty one, 2 elements
};
using ModelRecord = std::vector<ModelField>;

// A field of the model, and the text that names it.
struct Shown
{
    std::string path;
    int record = 0;
    int field_id = 0;
    int element = 0;
};
using Answer = std::optional<Shown>;

Answer behind_prefix(const std::string& prefix, Answer inner)
{
    inner->path.insert(0, prefix);
    return inner;
}

// "[n]" at the beginning of a text: its number, and what follows. Number 0: there is none.
struct Number
{
    explicit Number(const std::string& text)
    {
        const std::size_t close = text.find(']');
        if (close != std::string::npos) {
            std::from_chars(text.data() + 1, text.data() + close, value);
            rest = text.substr(close + 1);
        }
    }
    int value = 0;
    std::string rest;
};

class Model
{
public:
    std::vector<ModelRecord> records;

    [[nodiscard]] Answer Find(int record, const std::string& path) const
    {
        for (const ModelField& field : records[at(record)]) {
            if (!path.starts_with(field.name)) {
                continue;
            }
            const std::string rest = path.substr(field.name.size());
            const bool has_brackets = field.name.back() == ']';
            if (rest.empty() || (rest[0] != '.' && rest[0] != '[' && has_brackets)) {
                return Shown{path, record, field.field_id, 0};
            }
            if (rest[0] == '.') {
                return follow(field, 0) < 0 ? std::nullopt : Find(follow(field, 0), rest.substr(1));
            }
            const Number number(rest);
            if (rest[0] != '[' || number.value == 0 || follow(field, number.value) < 0) {
                continue;
            }
            if (field.status != 2 || (!number.rest.empty() && number.rest[0] != '.')) {
                return std::nullopt;
            }
            return number.rest.empty() ? Shown{path, record, field.field_id, number.value}
                                       : Find(follow(field, number.value), number.rest.substr(1));
        }
        return std::nullopt;
    }

    [[nodiscard]] Answer Next(int record, const std::string& path) const
    {
        if (path.empty()) {
            return from(record, 0);
        }
        int ended = -1;
        for (int i = 0; i < static_cast<int>(records[at(record)].size()); ++i) {
            const ModelField& field = records[at(record)][at(i)];
            if (stands_before(record, i) || !path.starts_with(field.name)) {
                continue;
            }
            const std::string rest = path.substr(field.name.size());
            if (rest.empty()) {
                return whole(record, i);
            }
            if (rest[0] == '.') {
                return follow(field, 0) < 0 ? std::nullopt : inside(record, i, 0, ".", rest.substr(1));
            }
            Number number(rest);
            if (rest[0] != '[' || number.value == 0) {
                continue;
            }
            const bool go_on = number.rest.empty() && number.value > 1;
            number.value += go_on ? 1 : 0;
            if (follow(field, number.value) < 0 || field.status == 1) {
                ended = i;
                continue;
            }
            return element(record, i, number, rest.substr(0, rest.find(']') + 1));
        }
        return ended >= 0 ? from(record, ended + 1) : std::nullopt;
    }

private:
    static std::size_t at(int index) { return static_cast<std::size_t>(index); }

    // The record behind a field, -1 for none.
    static int follow(const ModelField& field, int number)
    {
        if (field.status != 2) {
            return field.to.empty() ? -1 : field.to[0];
        }
        return number < 1 || at(number) > field.to.size() ? -1 : field.to[at(number) - 1];
    }

    [[nodiscard]] bool stands_before(int record, int i) const
    {
        const ModelRecord& fields = records[at(record)];
        for (int earlier = 0; earlier < i; ++earlier) {
            if (fields[at(earlier)].name == fields[at(i)].name) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] Answer from(int record, int i) const
    {
        while (i < static_cast<int>(records[at(record)].size()) && stands_before(record, i)) {
            ++i;
        }
        if (i >= static_cast<int>(records[at(record)].size())) {
            return std::nullopt;
        }
        const ModelField& field = records[at(record)][at(i)];
        return Shown{field.name, record, field.field_id, 0};
    }

    [[nodiscard]] Answer first_inside(int record, int i, int number, const std::string& prefix) const
    {
        const Answer first = from(follow(records[at(record)][at(i)], number), 0);
        return first ? behind_prefix(prefix + '.', first) : from(record, i + 1);
    }

    [[nodiscard]] Answer numbered(int record, int i, int number) const
    {
        const ModelField& field = records[at(record)][at(i)];
        const std::string path = field.name + '[' + std::to_string(number) + ']';
        // A field that doesn't repeat has no number of its own, so that the host writes its name.
        return field.status == 2 ? Shown{path, record, field.field_id, number}
                                 : Shown{path + field.name, record, field.field_id, 0};
    }

    [[nodiscard]] Answer whole(int record, int i) const
    {
        const ModelField& field = records[at(record)][at(i)];
        if (follow(field, 1) < 0 || field.status == 1) {
            return from(record, i + 1);
        }
        return field.status == 2 ? numbered(record, i, 1) : first_inside(record, i, 1, field.name);
    }

    [[nodiscard]] Answer inside(int record, int i, int number, const std::string& link, const std::string& rest) const
    {
        const ModelField& field = records[at(record)][at(i)];
        if (const Answer inner = Next(follow(field, number), rest)) {
            return behind_prefix(field.name + link, inner);
        }
        const bool has_another = field.status == 2 && follow(field, number + 1) >= 0;
        return has_another ? numbered(record, i, number + 1) : from(record, i + 1);
    }

    [[nodiscard]] Answer element(int record, int i, const Number& number, const std::string& written) const
    {
        if (!number.rest.empty()) {
            return number.rest[0] == '.' ? inside(record, i, number.value, written + '.', number.rest.substr(1))
                                         : std::nullopt;
        }
        const std::string& name = records[at(record)][at(i)].name;
        return number.value == 1 ? first_inside(record, i, 1, name + written) : numbered(record, i, number.value);
    }
};

// ---- Random records --------------------------------------------------------------------------------------------

// A record's class: how it is made, and its names as written down here.
struct Class
{
    std::unique_ptr<CMessage> (*make)();
    ModelRecord fields;
};

template <int message_id, int... field_ids> Class Class_Of(std::vector<std::string> names)
{
    const std::vector<int> ids{field_ids...};
    Class made{[]() -> std::unique_ptr<CMessage> { return std::make_unique<RecordOf<message_id, field_ids...>>(); },
               {}};
    for (std::size_t i = 0; i < ids.size(); ++i) {
        made.fields.push_back({ids[i], names[i], {}, 1});
    }
    return made;
}

std::vector<Class> classes()
{
    return {
        Class_Of<CGTVLXCONNECTED_TYPE, EMISOR_CHAT, RECEPTOR_CHAT, TEXTO_CHAT>({"emisor", "receptor", "texto"}),
        Class_Of<CGTNMCHKPLZ_TYPE, CODIGO_USUARIO, CODIGO_CIUDAD_3C, NOMBRE_COMPLETO>(
            {"codigo", "codigo_ciudad_3c", "nombre_completo"}),
        Class_Of<CGTINSTNUM_TYPE, NOMBRE_CITY_1, NOMBRE_CITY_2, NOMBRE_CITY_3, NOMBRE_EMISOR, LETRA_CIUDAD_CITY>(
            {"nombre", "nombre[2]", "nombre[3]", "nombre", "letra_ciudad"}),
        Class_Of<CGTCUPOSG_TYPE, TML, O_D, EMISOR_CHAT>({"tml", "o_d", "emisor"}),
        Class_Of<CGTFACTRIESGO_TYPE, FILIACION_BV_1, NOMBRE_EMISOR, FILIACION_BV_2, NOMBRE_CITY_1>(
            {"filiacion_bv[1]", "nombre", "filiacion_bv[2]", "nombre"}),
        Class_Of<CGTBRANCHNUM_TYPE>({}),
    };
}

class RandomRecords
{
public:
    // With `plain` names no field that leads somewhere shares its name with one in brackets: an element of the one
    // would be taken for the other, and a walk come back to where it was.
    explicit RandomRecords(unsigned seed, bool plain) : m_random(seed)
    {
        for (int i = 0; i < count; ++i) {
            const Class& chosen = m_classes[Below(m_classes.size())];
            m_records.push_back(chosen.make());
            m_model.records.push_back(chosen.fields);
        }
        for (int i = 0; i < count; ++i) {
            for (ModelField& field : m_model.records[static_cast<std::size_t>(i)]) {
                if (!plain || field.name != "nombre") {
                    Lead(i, field);
                }
            }
        }
    }

    CMessage& First() { return *m_records[0]; }
    [[nodiscard]] const Model& Of_Model() const { return m_model; }
    CField* Field(const Shown& shown) { return &(*m_records[static_cast<std::size_t>(shown.record)])[shown.field_id]; }

    // Pieces of paths, so that most lead somewhere.
    std::string Path()
    {
        const std::vector<std::string> ends{"", "", "[1]", "[2]", "[3]", "[4]", "[0]", "[", "]", "x", "[1]x"};
        std::string path;
        for (std::size_t segments = 1 + Below(4); segments > 0; --segments) {
            const ModelRecord& fields = m_model.records[Below(count)];
            path += fields.empty() ? "" : fields[Below(fields.size())].name;
            path += ends[Below(ends.size())];
            path += segments > 1 ? "." : "";
        }
        return path;
    }

private:
    static constexpr int count = 7;

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    // To records behind it only, so that all walks end.
    void Lead(int record, ModelField& field)
    {
        const std::size_t links = record + 1 < count ? Below(4) : 0;
        for (std::size_t i = 0; i < links; ++i) {
            field.to.push_back(record + 1 + static_cast<int>(Below(static_cast<std::size_t>(count - record - 1))));
        }
        field.status = static_cast<int>(Below(3));
        CMessage& from = *m_records[static_cast<std::size_t>(record)];
        if (field.status != 2) {
            CMessage* to = links != 0 ? m_records[static_cast<std::size_t>(field.to[0])].get() : nullptr;
            m_links.Answer(from, field.field_id, to, field.status);
            return;
        }
        std::vector<CMessage*> elements;
        for (const int to : field.to) {
            elements.push_back(m_records[static_cast<std::size_t>(to)].get());
        }
        m_links.To_Elements(from, field.field_id, elements);
    }

    const std::vector<Class> m_classes = classes();
    std::mt19937 m_random;
    std::vector<std::unique_ptr<CMessage>> m_records;
    Model m_model;
    RecordLinks m_links{false};
};

// ---- Agreement -------------------------------------------------------------------------------------------------

// What differs between a field that the library gave, with its element, and what the model shows. Empty: nothing.
std::string Difference(RandomRecords& records, CField* field, int element, const Answer& shown)
{
    if (field == nullptr || !shown) {
        return (field == nullptr) == !shown ? "" : "one of them is null";
    }
    if (element != shown->element) {
        return "element " + std::to_string(element) + " for " + std::to_string(shown->element);
    }
    return field == records.Field(*shown) ? "" : "another field";
}

std::string Difference_Of_Step(RandomRecords& records, FieldWalk& walk, const Answer& shown)
{
    CField* field = walk.Next();
    std::string difference = Difference(records, field, walk.Element(), shown);
    if (!difference.empty() || field == nullptr) {
        return difference;
    }
    return walk.Path() == shown->path ? "" : std::string("path ") + walk.Path() + " for " + shown->path;
}

std::string Difference_Of_Find(RandomRecords& records, const std::string& path)
{
    CField* field = records.First().Find_Field(path.c_str());
    return Difference(records, field, field != nullptr ? field->m_index : 0, records.Of_Model().Find(0, path));
}

constexpr unsigned graphs = 300;

TEST(WalkModel, WalksAgreeStepByStepAndEnd)
{
    for (unsigned seed = 0; seed < graphs; ++seed) {
        RandomRecords records(seed, true);
        FieldWalk walk(records.First());
        Answer shown = records.Of_Model().Next(0, "");
        for (int steps = 0; shown; ++steps) {
            ASSERT_EQ(Difference_Of_Step(records, walk, shown), "") << "graph " << seed << ", at " << shown->path;
            ASSERT_LT(steps, 20000);
            shown = records.Of_Model().Next(0, shown->path);
        }
        ASSERT_EQ(walk.Next(), nullptr) << "graph " << seed;
    }
}

TEST(WalkModel, EveryPathOfAWalkIsFoundAgain)
{
    for (unsigned seed = 0; seed < graphs; ++seed) {
        RandomRecords records(seed, true);
        for (Answer shown = records.Of_Model().Next(0, ""); shown; shown = records.Of_Model().Next(0, shown->path)) {
            CField* field = records.First().Find_Field(shown->path.c_str());
            ASSERT_EQ(Difference(records, field, field != nullptr ? field->m_index : 0, shown), "")
                << "graph " << seed << ", path " << shown->path;
        }
    }
}

TEST(WalkModel, StepsFromAnyPathAgree)
{
    for (unsigned seed = 0; seed < graphs; ++seed) {
        RandomRecords records(seed, false);
        for (int i = 0; i < 200; ++i) {
            const std::string path = records.Path();
            FieldWalk walk(records.First(), path);
            const Answer shown = records.Of_Model().Next(0, path);
            ASSERT_EQ(Difference_Of_Step(records, walk, shown), "") << "graph " << seed << ", behind " << path;
        }
    }
}

TEST(WalkModel, AnyPathIsFoundAlike)
{
    for (unsigned seed = 0; seed < graphs; ++seed) {
        RandomRecords records(seed, false);
        for (int i = 0; i < 200; ++i) {
            const std::string path = records.Path();
            ASSERT_EQ(Difference_Of_Find(records, path), "") << "graph " << seed << ", path " << path;
        }
    }
}

} // namespace
