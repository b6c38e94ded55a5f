#include "mediaconverter/job/SourceRemoval.h"

#include "mediaconverter/job/FileIdentity.h"
#include "mediaconverter/job/NamesInFolder.h"
#include "mediaconverter/job/SecondName.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <string_view>
#include <sys/random.h>
#include <system_error>

namespace mediaconverter {

namespace {

constexpr std::string_view prefix = ".record-converter-";
constexpr std::string_view suffix = ".converted";
constexpr const char* other = "another file has its name now, or it was changed after it had been converted";

std::string systemText(int number) {
    return std::generic_category().message(number);
}

/// A name that identifies the file: the file may be removed whenever it still matches the name.
std::string asideName(const struct stat& file) {
    std::uint32_t chance = 0;
    static_cast<void>(!::getrandom(&chance, sizeof chance, 0));
    std::array<char, 160> text{};
    static_cast<void>(
        std::snprintf(text.data(), text.size(), "%" PRIxMAX "-%" PRIxMAX "-%" PRIxMAX "-%" PRIxMAX "-%lx-%08" PRIx32,
                      static_cast<std::uintmax_t>(file.st_dev), static_cast<std::uintmax_t>(file.st_ino),
                      static_cast<std::uintmax_t>(file.st_size), static_cast<std::uintmax_t>(file.st_mtim.tv_sec),
                      static_cast<unsigned long>(file.st_mtim.tv_nsec), chance));
    return std::string(prefix) + text.data() + std::string(suffix);
}

bool saysWhatItIs(const std::string& name, const struct stat& file) {
    const std::string own = asideName(file);
    const std::size_t chance = 8 + suffix.size();  // differs for each name
    return name.size() == own.size() && name.compare(0, name.size() - chance, own, 0, own.size() - chance) == 0;
}

void removeLeftovers(int folder) {
    for (const std::string& name : namesIn(folder, prefix, suffix)) {
        struct stat left = {};
        if (::fstatat(folder, name.c_str(), &left, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(left.st_mode) &&
            saysWhatItIs(name, left)) {
            ::unlinkat(folder, name.c_str(), 0);
        }
    }
}

int renameWithoutReplacing(int folder, const std::string& from, const std::string& to) {
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    return errno;
}

/// The name is random, so even if the file system cannot guarantee not to replace a file, there is none to replace.
int moveAside(int folder, const std::string& name, const std::string& aside) {
    const int number = renameWithoutReplacing(folder, name, aside);
    if (number != EINVAL && number != ENOSYS) {
        return number;
    }
    return ::renameat(folder, name.c_str(), folder, aside.c_str()) == 0 ? 0 : errno;
}

/// Gives the moved file its name back, or the nearest free one.
std::string giveBack(int folder, const std::string& aside, const std::string& name) {
    for (int number = 0; number < 100; ++number) {
        const std::string candidate = number == 0 ? name : secondName(name, "moved aside", number);
        int failure = renameWithoutReplacing(folder, aside, candidate);
        if (failure == EINVAL || failure == ENOSYS) {
            failure = ::linkat(folder, aside.c_str(), folder, candidate.c_str(), 0) == 0 ? 0 : errno;
            if (failure == 0) {
                ::unlinkat(folder, aside.c_str(), 0);
            }
        }
        if (failure == 0) {
            return number == 0 ? std::string(other) : std::string(other) + "; it is " + candidate;
        }
        if (failure != EEXIST) {
            break;
        }
    }
    return std::string(other) + "; it is " + aside;
}

class Place {
public:
    explicit Place(const std::string& path) {
        const auto slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        name = slash == std::string::npos ? path : path.substr(slash + 1);
        descriptor = UniqueDescriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    UniqueDescriptor descriptor;
    std::string name;
};

/// Whether `name` is the file, or a symbolic link to it.
bool isTheFile(int folder, const std::string& name, const SourceFile& source) {
    struct stat named = {};
    return ::fstatat(folder, name.c_str(), &named, 0) == 0 && isSameContent(named, source.status());
}

}  // namespace

std::optional<std::string> removeSource(const SourceFile& source) {
    const Place place(source.path());
    const int folder = place.descriptor.get();
    struct stat opened = {};
    if (!place.descriptor || ::fstat(source.descriptor(), &opened) != 0) {
        return systemText(errno);
    }
    removeLeftovers(folder);
    if (!isSameContent(opened, source.status()) || !isTheFile(folder, place.name, source)) {
        return other;
    }
    const std::string aside = asideName(source.status());
    if (const int number = moveAside(folder, place.name, aside); number != 0) {
        return systemText(number);
    }
    // A file that took the name between the check above and the move has been moved too.
    if (!isTheFile(folder, aside, source)) {
        return giveBack(folder, aside, place.name);
    }
    if (::unlinkat(folder, aside.c_str(), 0) != 0) {
        const int number = errno;
        giveBack(folder, aside, place.name);
        return systemText(number);
    }
    return std::nullopt;
}

}  // namespace mediaconverter
