#include "recordkeeping/PendingEntry.h"

#include <array>
#include <charconv>
#include <map>
#include <sstream>
#include <string_view>

namespace recordkeeping {

namespace {

constexpr std::string_view firstLine = "record-converter pending 1";
constexpr std::string_view lastLine = "end";
constexpr std::array<const char*, 5> stateNames = {"recording", "written", "due", "saved", "left"};

std::string escaped(const std::string& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value > 0x20 && value < 0x7f && byte != '%') {
            text += byte;
        } else {
            text.append(1, '%').append(1, digits[value >> 4U]).append(1, digits[value & 0xfU]);
        }
    }
    return text;
}

/// Absent if a percent sign is not followed by two hexadecimal digits.
std::optional<std::string> unescaped(const std::string& text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            bytes += text[at];
            continue;
        }
        unsigned value = 0;
        const char* const begin = text.data() + at + 1;
        if (at + 2 >= text.size() || std::from_chars(begin, begin + 2, value, 16).ptr != begin + 2) {
            return std::nullopt;
        }
        bytes += static_cast<char>(value);
        at += 2;
    }
    return bytes;
}

std::string asText(const platform::ProcessIdentity& process) {
    return std::to_string(process.processId) + " " + std::to_string(process.startTime) + " " + process.bootId;
}

bool read(const std::string& text, platform::ProcessIdentity& process) {
    std::istringstream stream(text);
    if (!(stream >> process.processId >> process.startTime)) {
        return false;
    }
    stream >> process.bootId;
    return true;
}

template<typename Number>
bool read(const std::string& text, Number& number) {
    std::istringstream stream(text);
    return static_cast<bool>(stream >> number);
}

bool read(const std::string& text, PendingEntry::State& state) {
    for (std::size_t index = 0; index < stateNames.size(); ++index) {
        if (text == stateNames.at(index)) {
            state = static_cast<PendingEntry::State>(index);
            return true;
        }
    }
    return false;
}

bool read(const std::string& text, std::string& bytes) {
    const auto found = unescaped(text);
    bytes = found.value_or("");
    return found.has_value();
}

/// The lines between the first and the last; empty if either is missing.
std::map<std::string, std::string> valuesOf(const std::string& text) {
    std::istringstream stream(text);
    std::string line;
    if (!std::getline(stream, line) || line != firstLine) {
        return {};
    }
    std::map<std::string, std::string> values;
    while (std::getline(stream, line) && line != lastLine) {
        const auto equals = line.find('=');
        values[line.substr(0, equals)] = equals == std::string::npos ? "" : line.substr(equals + 1);
    }
    return line == lastLine ? values : std::map<std::string, std::string>();
}

}  // namespace

std::string asText(const PendingEntry& entry) {
    std::string text(firstLine);
    text += "\nsource=" + escaped(entry.source);
    text += "\nmeeting=" + asText(entry.meeting);
    text += "\nconverter=" + asText(entry.converter);
    text += "\nlanguage=" + std::to_string(entry.language);
    text += "\nkeep=" + std::to_string(entry.keep ? 1 : 0);
    text.append("\nstate=").append(stateNames.at(static_cast<std::size_t>(entry.state)));
    text += "\nattempts=" + std::to_string(entry.attempts);
    text += "\ndestination=" + escaped(entry.destination);
    return text.append("\n").append(lastLine).append("\n");
}

std::optional<PendingEntry> pendingEntryFromText(const std::string& text) {
    auto values = valuesOf(text);
    PendingEntry entry;
    const bool isWhole = read(values["source"], entry.source) && !entry.source.empty() &&
                         read(values["meeting"], entry.meeting) && read(values["converter"], entry.converter) &&
                         read(values["language"], entry.language) && read(values["keep"], entry.keep) &&
                         read(values["state"], entry.state) && read(values["attempts"], entry.attempts) &&
                         read(values["destination"], entry.destination);
    return isWhole ? std::optional(entry) : std::nullopt;
}

}  // namespace recordkeeping
