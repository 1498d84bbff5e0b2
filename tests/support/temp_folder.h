// A fresh program folder under the system's temporary folder, removed when the test ends.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace quorvane::test {

// A whole file as bytes; empty when it cannot be read.
inline std::string fileText(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class TempFolder {
public:
    TempFolder()
    {
        std::random_device random;
        m_path = std::filesystem::temp_directory_path() / ("quorvane-test-" + std::to_string(random()));
        std::filesystem::create_directories(m_path);
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    void write(const std::string& name, const std::string& content) const
    {
        std::ofstream(m_path / name, std::ios::binary) << content;
    }
    std::string read(const std::string& name) const { return fileText(m_path / name); }

private:
    std::filesystem::path m_path;
};

} // namespace quorvane::test
