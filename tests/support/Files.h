#ifndef KYRORVEL_TESTS_SUPPORT_FILES_H
#define KYRORVEL_TESTS_SUPPORT_FILES_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace support {

/// A folder of its own for one test, gone with it.
class Folder {
public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "kyrOrvel-XXXXXX").string();
        if (!mkdtemp(name.data()))
            ADD_FAILURE() << "no temporary folder can be made from " << name;
        m_path = name;
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return (m_path / name).string(); }

    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream file(path(name), std::ios::binary);
        file << content;
        file.close();
        EXPECT_TRUE(file) << "cannot write " << path(name);
        return path(name);
    }

    std::size_t numFiles() const
    {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(m_path)) {
            static_cast<void>(entry);
            ++count;
        }
        return count;
    }

private:
    std::filesystem::path m_path;
};

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << "cannot read " << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace support

#endif
