// What the fields of a kind are, as the layouts of the record classes tell it: no record is built.
#include "qcapi.h"

#include "message/layout.h"
#include "message/message.h"
#include "message_numbers.h"
#include "prefix.h"
#include "reader/mailboxes.h"
#include "reader/views.h"
#include "support.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>

namespace {

struct DescribedKind
{
    Kind kind;
    const RecordLayout& (*layout)();
};

template <auto& view> const RecordLayout& layout_of()
{
    return Layout_Of<std::remove_reference_t<decltype(*view)>>();
}

constexpr int no_table_type = -1;

// Whatever can be composed can be received too.
#define MESSAGE(number, view, ...) {{number, no_table_type}, layout_of<view>},
#define TABLE(type, view, ...) {{MSS_TABLA_GLOBAL, type}, layout_of<view>},
constexpr DescribedKind described_kinds[] = {QAPI_RECEIVED_MESSAGES(MESSAGE) QAPI_RECEIVED_TABLES(TABLE, TABLE)};
#undef MESSAGE
#undef TABLE

const RecordLayout* layout_of_kind(const Kind& kind)
{
    const auto* row = std::find_if(std::begin(described_kinds), std::end(described_kinds),
                                   [&kind](const DescribedKind& each) { return each.kind == kind; });
    return row != std::end(described_kinds) ? &row->layout() : nullptr;
}

// ---- Fields ----------------------------------------------------------------------------------------------------

const FIELD_EQUIVALENCE& row_of(const FieldPlace& place)
{
    return glb_field_equivalence[static_cast<std::size_t>(place.field_id)];
}

bool repeats(const FieldPlace& place)
{
    return row_of(place).field_reference == REF_RECEIVER;
}

QapiField whole_field(const FieldPlace& place)
{
    const FIELD_EQUIVALENCE& row = row_of(place);
    const int decimals = row.field_type == FLD_NUM_ASCII_DOUBLE ? row.field_decimal_len : 0;
    if (repeats(place)) {
        const int elements = std::min(qapi::most_receivers, place.len / qapi::receiver_length);
        return {row.field_type, place.len, decimals, elements, qapi::receiver_length};
    }
    return {row.field_type, place.len, decimals, 1, place.len};
}

// The number in the brackets that are all of the text, 0 if it is something else.
int element_number(std::string_view brackets)
{
    int number = 0;
    const char* end = brackets.data() + brackets.size() - 1;
    const auto [stop, error] = std::from_chars(brackets.data() + 1, end, number);
    return error == std::errc{} && stop == end && *end == ']' ? number : 0;
}

bool describe_element(const FieldPlace& place, std::string_view brackets, QapiField& field)
{
    const QapiField whole = whole_field(place);
    const int number = repeats(place) ? element_number(brackets) : 0;
    if (number < 1 || number > whole.elements) {
        return false;
    }
    field = {whole.type, whole.element_length, whole.decimals, 1, whole.element_length};
    return true;
}

bool describe_as(const FieldPlace& place, std::string_view name, QapiField& field)
{
    const std::string_view own = place.name != nullptr ? place.name : "";
    if (own.empty() || name.substr(0, own.size()) != own) {
        return false;
    }
    const std::string_view behind = name.substr(own.size());
    if (behind.empty()) {
        field = whole_field(place);
        return true;
    }
    return behind.front() == '[' && describe_element(place, behind, field);
}

// The name in lower case; of one that is too long to be a field's, nothing.
class LoweredName
{
public:
    explicit LoweredName(const char* name) : m_size(strnlen(name, m_text.size()))
    {
        std::transform(name, name + m_size, m_text.begin(), ascii_lower);
    }
    [[nodiscard]] std::string_view view() const
    {
        return m_size < m_text.size() ? std::string_view(m_text.data(), m_size) : std::string_view();
    }

private:
    std::array<char, 128> m_text; // not cleared: most names are short
    std::size_t m_size;
};

bool describe(const RecordLayout& layout, std::string_view name, QapiField& field)
{
    const auto candidates = layout.With_Code(qapi::Name_Code(name));
    return std::any_of(candidates.begin(), candidates.end(),
                       [&](const FieldPlace* place) { return describe_as(*place, name, field); });
}

} // namespace

int CQcApi::DescribeField(const char* message_type, const char* field_name, QapiField* field)
{
    const RecordLayout* layout = layout_of_kind(Kind_Of(message_type));
    if (layout == nullptr) {
        return QAPI_ERR_ILLEGAL_RECORD_TYPE_SPECIFIED;
    }
    const LoweredName name(field_name != nullptr ? field_name : "");
    return describe(*layout, name.view(), *field) ? 0 : QAPI_ERR_ILLEGAL_FIELD_NAME_SPECIFIED;
}
