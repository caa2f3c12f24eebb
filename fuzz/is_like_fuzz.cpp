// Any field and any pattern end, in either's own memory, and short ones give what plain recursion gives.
//
// Input: length of the field, in a byte; the field; the rest is the pattern.
#include "reader/conditions.h"
#include "require.h"
#include "support/is_like_model.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t longest_for_the_model = 12;

// Of exactly its size.
class Text
{
public:
    Text(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes, bytes + size) { m_bytes.shrink_to_fit(); }

    [[nodiscard]] const char* data() const { return m_bytes.data(); }
    [[nodiscard]] int size() const { return static_cast<int>(m_bytes.size()); }
    [[nodiscard]] std::string_view view() const { return {m_bytes.data(), m_bytes.size()}; }
    [[nodiscard]] bool is_short() const { return m_bytes.size() <= longest_for_the_model; }

private:
    std::vector<char> m_bytes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::size_t field_size = std::min<std::size_t>(data[0], size - 1);
    const Text field(data + 1, field_size);
    const Text pattern(data + 1 + field_size, size - 1 - field_size);
    const int like = Is_Like(field.data(), field.size(), pattern.data(), pattern.size());
    require(like == 0 || like == 1);
    if (field.is_short() && pattern.is_short()) {
        require((like == 1) == IsLikeModel::Matches(field.view(), pattern.view()));
    }
    return 0;
}
