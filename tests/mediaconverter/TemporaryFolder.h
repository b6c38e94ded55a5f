#pragma once

#include <string>
#include <vector>

namespace mediatest {

/// A folder of its own for one test, removed with all it holds.
class TemporaryFolder {
public:
    /// Below `parent`, or where temporary files go.
    explicit TemporaryFolder(const std::string& parent = {});
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

    /// The names in it, hidden ones too, in order.
    std::vector<std::string> names() const;

private:
    std::string path_;
};

std::string contentOf(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace mediatest
