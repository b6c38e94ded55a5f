#pragma once

#include <string>
#include <vector>

namespace test {

/// A folder for one test, removed with all its content.
class TemporaryFolder {
public:
    /// Created in `parent`, or in the folder for temporary files.
    explicit TemporaryFolder(const std::string& parent = {});
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

    /// The names in it, including hidden ones, sorted.
    std::vector<std::string> names() const;

private:
    std::string path_;
};

std::string contentOf(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace test
