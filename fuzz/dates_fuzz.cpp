// Build dates and hours of any text: the output keeps to its size, and holds what the input has, in its order.
#include "qcapi/support.h"
#include "require.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace {

// The input in memory of its exact size, so that a sanitizer sees the first byte read behind its terminator.
std::string changed(void (*change)(const char*, char*), const std::string& input, std::size_t output_size)
{
    const auto exact_input = std::make_unique<char[]>(input.size() + 1);
    std::memcpy(exact_input.get(), input.c_str(), input.size() + 1);
    const auto output = std::make_unique<char[]>(output_size);
    std::memset(output.get(), '#', output_size);
    change(exact_input.get(), output.get());
    return {output.get(), strnlen(output.get(), output_size)};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), strnlen(reinterpret_cast<const char*>(data), size));
    const std::string date = changed(COMMON_Change_Format_Date, input, 9);
    require(date.size() <= 8);
    if (input.size() >= 11) {
        require(date.size() == 8 || date.size() == 6); // six without a month
        require(date.substr(0, 4) == input.substr(7, 4) && date.back() == input[5]);
    }
    const std::string hour = changed(COMMON_Change_Format_Hour, input, 7);
    require(hour.size() <= 6);
    if (input.size() >= 8) {
        require(hour == input.substr(0, 2) + input.substr(3, 2) + input.substr(6, 2));
    }
    return 0;
}
