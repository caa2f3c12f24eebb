#include "support/scratch_directory.h"

#include <cstdlib>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

// A test that ends its process by exit() destroys no object.
fs::path& last_one = *new fs::path;

void remove_last_one()
{
    std::error_code ignored;
    fs::remove_all(last_one, ignored);
}

} // namespace

ScratchDirectory::ScratchDirectory() : m_before(fs::current_path())
{
    std::string pattern = (fs::temp_directory_path() / "qapi-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no scratch directory");
    }
    m_path = pattern;
    fs::current_path(m_path);
    static const int at_exit = std::atexit(remove_last_one);
    static_cast<void>(at_exit);
    last_one = m_path;
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    fs::current_path(m_before, ignored);
    fs::remove_all(m_path, ignored);
}

void ScratchDirectory::write(const std::string& name, const std::string& bytes) const
{
    std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string ScratchDirectory::read(const std::string& name) const
{
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
