#include "wire/envelope.h"

#include "little_endian.h"
#include "wire/words.h"

#include <algorithm>
#include <array>
#include <vector>

namespace qm {

namespace {

constexpr std::size_t machine_len = 4;
constexpr std::size_t tail_len = 3;  // zeros behind a message
constexpr std::size_t head_len = 16; // with the lengths of no groups and of the message
constexpr std::uint16_t flags = 1;
static_assert(LONGEST_MESSAGE == 65535 - head_len - tail_len);

// Takes bytes from front to back. One read too many, and all that follow, give nothing.
class Reader
{
public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    std::string_view Take(std::size_t count)
    {
        if (count > m_rest.size()) {
            m_ok = false;
            m_rest = {};
            return {};
        }
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }
    std::uint16_t Word()
    {
        const std::string_view bytes = Take(sizeof(std::uint16_t));
        return m_ok ? load_le<std::uint16_t>(bytes.data()) : std::uint16_t{0};
    }
    [[nodiscard]] bool ok() const { return m_ok; }
    [[nodiscard]] bool is_empty() const { return m_rest.empty(); }

private:
    std::string_view m_rest;
    bool m_ok = true;
};

std::string_view without_padding(std::string_view code)
{
    constexpr std::string_view padding("\0 ", 2);
    return code.substr(0, code.find_last_not_of(padding) + 1);
}

// ---- Addressees

struct Kind
{
    std::string_view id;
    std::size_t size; // of a code
    std::vector<std::string> Audience::*codes;
};

constexpr std::array<Kind, 4> kinds{{
    {"PU", 4, &Audience::machines},
    {"SU", 8, &Audience::branches},
    {"XP", 4, &Audience::excluded},
    {"IN", 4, &Audience::institutions},
}};

void take_codes(std::vector<std::string>& codes, std::string_view elements, std::size_t size)
{
    for (; !elements.empty(); elements.remove_prefix(size)) {
        const std::string_view code = without_padding(elements.substr(0, size));
        if (!code.empty()) {
            codes.emplace_back(code);
        }
    }
}

bool take_group(Audience& audience, Reader& groups)
{
    const std::string_view id = groups.Take(2);
    const std::size_t count = groups.Word();
    const std::size_t size = groups.Word();
    if (count > 1 && size == 0) {
        return false;
    }
    const std::string_view elements = groups.Take(count * size);
    const auto* const kind =
        std::find_if(kinds.begin(), kinds.end(), [id](const Kind& known) { return known.id == id; });
    if (!groups.ok() || kind == kinds.end()) {
        return groups.ok();
    }
    if (count > 1 && size != kind->size) {
        return false;
    }
    take_codes(audience.*kind->codes, elements, size);
    return true;
}

bool take_groups(Audience& audience, std::string_view bytes)
{
    Reader groups(bytes);
    while (!groups.is_empty()) {
        if (!take_group(audience, groups)) {
            return false;
        }
    }
    return true;
}

// ---- Clock check

constexpr std::string_view clock_check_number = "869";
constexpr std::size_t block_offset = 97;
constexpr std::size_t block_len = 74;
constexpr std::size_t stages = 6;
constexpr std::size_t seconds_offset = 2;
constexpr std::size_t fractions_offset = seconds_offset + stages * 4;
constexpr std::size_t units_offset = fractions_offset + stages * 4;
static_assert(units_offset + stages * 4 == block_len);

constexpr std::uint16_t stage_step = 4; // of the stage word
constexpr std::uint16_t far_stage = 3;  // the first of the two that the far end stamps
constexpr std::uint32_t units = 1000;   // in a second

// Local time as if it were universal time. The way round by mktime is an hour early or late around a change of daylight
// saving; that is how clients count, and the two must agree.
std::uint32_t local_seconds(std::time_t moment)
{
    std::tm parts{};
    gmtime_r(&moment, &parts);
    parts.tm_isdst = -1;
    return static_cast<std::uint32_t>(moment - (std::mktime(&parts) - moment));
}

void stamp(char* block, std::size_t stage, const std::timespec& now)
{
    store_le(block + seconds_offset + 4 * stage, local_seconds(now.tv_sec));
    store_le(block + fractions_offset + 4 * stage, static_cast<std::uint32_t>(now.tv_nsec / (1'000'000'000 / units)));
    store_le(block + units_offset + 4 * stage, units);
}

} // namespace

std::optional<Envelope> Take_Envelope(std::string_view payload)
{
    Reader reader(payload);
    Envelope envelope;
    const std::uint16_t found_flags = reader.Word();
    const std::size_t whole = reader.Word();
    envelope.type = reader.Word();
    envelope.priority = reader.Word();
    envelope.machine = without_padding(reader.Take(machine_len));
    const std::string_view groups = reader.Take(reader.Word());
    const std::size_t data_len = reader.Word();
    const std::string_view data = reader.Take(data_len);
    if (!reader.ok() || found_flags != flags || data_len < tail_len || whole != head_len + groups.size() + data_len ||
        !take_groups(envelope.audience, groups)) {
        return std::nullopt;
    }
    envelope.message = data.substr(0, data_len - tail_len);
    return envelope;
}

bool Append_Envelope(std::string& out, std::string_view message, std::uint16_t priority, std::string_view machine,
                     std::uint16_t type)
{
    if (message.size() > LONGEST_MESSAGE) {
        return false;
    }
    const std::size_t data_len = message.size() + tail_len;
    Append_Word(out, flags);
    Append_Word(out, head_len + data_len);
    Append_Word(out, type);
    Append_Word(out, priority);
    const std::string_view name = machine.substr(0, machine_len);
    out.append(name);
    out.append(machine_len - name.size(), '\0');
    Append_Word(out, 0);
    Append_Word(out, data_len);
    out.append(message);
    out.append(tail_len, '\0');
    return true;
}

bool Stamp_Clock_Check(std::string& message, const std::timespec& now)
{
    if (!message.starts_with(clock_check_number) || message.size() < block_offset + block_len) {
        return false;
    }
    char* const block = message.data() + block_offset;
    if (load_le<std::uint16_t>(block) != far_stage * stage_step) {
        return false;
    }
    stamp(block, far_stage, now);
    stamp(block, far_stage + 1, now);
    store_le(block, static_cast<std::uint16_t>((far_stage + 2) * stage_step));
    return true;
}

} // namespace qm
