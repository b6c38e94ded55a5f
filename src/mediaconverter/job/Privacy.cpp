#include "mediaconverter/job/Privacy.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace mediaconverter {

namespace {

constexpr const char* accessList = "system.posix_acl_access";

// The kernel's format of an access list (linux/posix_acl_xattr.h): a version, then entries of tag, rights and id, all
// little-endian.
constexpr std::size_t listHeader = 4;
constexpr std::size_t entrySize = 8;
constexpr std::size_t rightsOffset = 2;
constexpr char ownersTag = 0x01;
constexpr char readAndWrite = 06;

std::optional<std::vector<char>> attribute(int file, const char* name) {
    std::vector<char> value(65536);  // the kernel allows no more
    const ssize_t length = ::fgetxattr(file, name, value.data(), value.size());
    if (length < 0) {
        return std::nullopt;
    }
    value.resize(static_cast<std::size_t>(length));
    return value;
}

/// The list with the execute right removed for everyone, and with read and write for its owner.
std::vector<char> forAnMp4(std::vector<char> list) {
    for (std::size_t entry = listHeader; entry + entrySize <= list.size(); entry += entrySize) {
        char& rights = list[entry + rightsOffset];
        rights = list[entry] == ownersTag ? readAndWrite : static_cast<char>(rights & readAndWrite);
    }
    return list;
}

/// If the group differs, its members get only what both the source's group and all others have, because they can have
/// been either. The same holds for all others, who can have been members of the source's group.
mode_t modeInOtherGroup(mode_t mode) {
    const mode_t both = (mode >> 3U) & mode & 06U;
    return (mode & 0600U) | both << 3U | both;
}

bool copyOwners(const struct stat& source, int output) {
    struct stat present = {};
    if (::fstat(output, &present) != 0) {
        return false;
    }
    const bool mayGiveAway = present.st_uid != source.st_uid && ::fchown(output, source.st_uid, source.st_gid) == 0;
    return mayGiveAway || present.st_gid == source.st_gid ||
           ::fchown(output, static_cast<uid_t>(-1), source.st_gid) == 0;
}

/// False if some readers of the source may not read the output.
bool copyReaders(int source, const struct stat& status, int output) {
    // A list inherited from the folder would add readers.
    ::fremovexattr(output, accessList);
    const bool hasGroup = copyOwners(status, output);
    const mode_t mode = (status.st_mode & 0666U) | 0600U;
    const auto list = attribute(source, accessList);
    if (list) {
        const auto wanted = forAnMp4(*list);
        return hasGroup && ::fsetxattr(output, accessList, wanted.data(), wanted.size(), 0) == 0;
    }
    if (errno != ENODATA && errno != EOPNOTSUPP && errno != ENOSYS) {
        return false;  // there may be a list
    }
    // A file system without modes (FAT) refuses; there the folder decides who may read, for the source as well.
    const mode_t wanted = hasGroup ? mode : modeInOtherGroup(mode);
    static_cast<void>(::fchmod(output, wanted));
    return wanted == mode;
}

/// False for the MIME type, which would be wrong for the MP4.
bool comesAlong(std::string_view name) {
    return name.starts_with("user.") && name != "user.mime_type";
}

bool copyAttributes(int source, int output) {
    std::vector<char> names(65536);  // the kernel allows no more
    const ssize_t length = ::flistxattr(source, names.data(), names.size());
    bool all = true;
    for (const char* name = names.data(); name < names.data() + std::max<ssize_t>(length, 0);
         name += std::string_view(name).size() + 1) {
        if (comesAlong(name)) {
            const auto value = attribute(source, name);
            all = value && ::fsetxattr(output, name, value->data(), value->size(), 0) == 0 && all;
        }
    }
    return all;
}

}  // namespace

std::string copyAccess(int source, const struct stat& status, int output) {
    std::string left;
    if (!copyReaders(source, status, output)) {
        left = "fewer people may read the MP4 than the recording: its group or access list cannot be given to it";
    }
    if (!copyAttributes(source, output)) {
        left += std::string(left.empty() ? "" : "; ") + "some extended attributes could not be given to the MP4";
    }
    return left;
}

}  // namespace mediaconverter
