// Any path, and any walk, over records whose codes lead to each other, to empty records, to elements and nowhere. What
// is found is null or a field of one of the records; the cursor and the name that a host writes there stay inside the
// text; and a walk ends, unless the records lead to each other in circles, of which only the first steps are taken.
//
// Input: number of records, whether in circles; the class of each; two bytes for each field's link; the rest is a path.
#include "require.h"
#include "support/record_links.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t most_records = 5;
constexpr int longest_walk = 20000; // of 5 records with 5 fields each, none in a circle
constexpr int steps_in_a_circle = 60;

class Input
{
public:
    explicit Input(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    // The next byte, 0 behind the last.
    std::size_t next()
    {
        if (m_bytes.empty()) {
            return 0;
        }
        const std::size_t byte = m_bytes.front();
        m_bytes = m_bytes.subspan(1);
        return byte;
    }
    [[nodiscard]] std::string rest() const { return {m_bytes.begin(), m_bytes.end()}; }

private:
    std::span<const std::uint8_t> m_bytes;
};

template <int message_id, int... field_ids> std::unique_ptr<CMessage> record_of()
{
    return std::make_unique<RecordOf<message_id, field_ids...>>();
}

std::unique_ptr<CMessage> make_record(std::size_t choice)
{
    switch (choice % 6) {
    case 0:
        return record_of<CGTVLXCONNECTED_TYPE, EMISOR_CHAT, RECEPTOR_CHAT, TEXTO_CHAT>();
    case 1:
        return record_of<CGTNMCHKPLZ_TYPE, CODIGO_USUARIO, CODIGO_CIUDAD_3C, NOMBRE_COMPLETO>();
    case 2:
        return record_of<CGTINSTNUM_TYPE, NOMBRE_CITY_1, NOMBRE_CITY_2, NOMBRE_CITY_3, NOMBRE_EMISOR, O_D>();
    case 3:
        return record_of<CGTCUPOSG_TYPE, TML, O_D, EMISOR_CHAT>();
    case 4:
        return record_of<CGTFACTRIESGO_TYPE, FILIACION_BV_1, FILIACION_BV_2,
                         BANDERA_VER_NOMBRES_EN_PRECIOS_MONTOS_ANULADOS_MARKETS>();
    default:
        return record_of<CGTBRANCHNUM_TYPE>();
    }
}

class World
{
public:
    explicit World(Input& input)
    {
        m_records.resize(1 + input.next() % most_records);
        m_circles = input.next() % 2 != 0;
        for (auto& record : m_records) {
            record = make_record(input.next());
        }
        for (std::size_t i = 0; i < m_records.size(); ++i) {
            for (const FieldPlace& place : m_records[i]->Layout_In_Force().Fields()) {
                const std::size_t kind = input.next();
                lead(i, place, kind, input.next());
            }
        }
    }

    [[nodiscard]] CMessage& first() const { return *m_records.front(); }
    [[nodiscard]] bool circles() const { return m_circles; }

    [[nodiscard]] bool owns(const CField* field) const
    {
        return std::any_of(m_records.begin(), m_records.end(), [field](const auto& record) {
            return field->m_parent == record.get() && &(*record)[field->m_field_id] == field;
        });
    }

private:
    // Null where only records behind this one may be led to, and there is none.
    [[nodiscard]] CMessage* target(std::size_t from, std::size_t choice) const
    {
        const std::size_t first = m_circles ? 0 : from + 1;
        return first < m_records.size() ? m_records[first + choice % (m_records.size() - first)].get() : nullptr;
    }

    // Elements of a field are taken for fields whose names have brackets, which is a circle too.
    [[nodiscard]] bool may_lead(const FieldPlace& place) const
    {
        return place.name != nullptr && (m_circles || std::string_view(place.name) != "nombre");
    }

    void lead(std::size_t from, const FieldPlace& place, std::size_t kind, std::size_t choice)
    {
        CMessage* to = target(from, choice);
        CMessage& record = *m_records[from];
        if (!may_lead(place) || kind % 4 == 0) {
            return;
        }
        if (kind % 4 == 1 && to != nullptr) {
            m_links.To_Elements(record, place.field_id, std::vector<CMessage*>(1 + kind / 4 % 12, to));
            return;
        }
        m_links.Answer(record, place.field_id, kind % 4 == 2 ? nullptr : to, static_cast<int>(kind / 4 % 4));
    }

    std::vector<std::unique_ptr<CMessage>> m_records;
    bool m_circles = false;
    RecordLinks m_links{false};
};

// The steps that were taken, until the walk ended or `most` were.
int walk_on(World& world, FieldWalk walk, int most)
{
    int steps = 0;
    const CField* field = nullptr;
    while (steps < most && (field = walk.Next()) != nullptr) {
        require(walk.Is_Sound());
        require(world.owns(field));
        ++steps;
    }
    return steps;
}

void find(World& world, const std::string& path)
{
    const CField* field = world.first().Find_Field(path.c_str());
    require(field == nullptr || world.owns(field));
}

void walk_from(World& world, const std::string& path)
{
    if (path.size() <= MAX_FIELD_PATH) {
        walk_on(world, FieldWalk(world.first(), path), steps_in_a_circle);
        return;
    }
    std::string text = path;
    char* cursor = text.data();
    require(world.first().Next_Field(&cursor) == nullptr && cursor == text.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input({data, size});
    World world(input);
    const std::string path = input.rest().c_str(); // NOLINT(readability-redundant-string-cstr): up to the first NUL
    find(world, path);
    walk_from(world, path);
    const int most = world.circles() ? steps_in_a_circle : longest_walk;
    const int steps = walk_on(world, FieldWalk(world.first()), most);
    require(world.circles() || steps < most);
    return 0;
}
