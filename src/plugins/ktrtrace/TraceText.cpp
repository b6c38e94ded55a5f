#include "plugins/ktrtrace/TraceText.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ktrtrace {

namespace {

// Nearly every line fits; only longer ones allocate memory.
constexpr std::size_t usualSize = 1024;

void appendEscaped(std::string& out, const char* bytes, std::size_t length) {
    for (std::size_t at = 0; at < length; ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        if (byte < 0x20 || byte == 0x7F) {
            std::array<char, 8> escaped{};
            out.append(escaped.data(), static_cast<std::size_t>(std::snprintf(escaped.data(), escaped.size(), "\\x%02x",
                                                                              static_cast<unsigned>(byte))));
        } else {
            out += bytes[at];
        }
    }
}

void appendPart(std::string& out, const char* part) {
    if (part != nullptr && *part != '\0') {
        const std::string text(part);
        out += out.empty() ? "" : "/";
        appendEscaped(out, text.data(), text.size());
    }
}

}  // namespace

std::optional<std::string> formatted(const char* format, std::va_list arguments) {
    if (format == nullptr) {
        return std::nullopt;
    }
    std::va_list again;
    va_copy(again, arguments);
    std::array<char, usualSize> buffer{};
    const int size = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    std::string text;
    if (size < 0) {
        text = format;
    } else if (static_cast<std::size_t>(size) < buffer.size()) {
        text.assign(buffer.data(), static_cast<std::size_t>(size));
    } else {
        text.resize(std::min(static_cast<std::size_t>(size), longestText) + 1);
        static_cast<void>(std::vsnprintf(text.data(), text.size(), format, again));
        text.pop_back();
        text += static_cast<std::size_t>(size) > longestText ? " (cut)" : "";
    }
    va_end(again);
    return text;
}

std::string lineOf(const char* module, const char* second, const std::string& text) {
    std::string line;
    appendPart(line, module);
    appendPart(line, second);
    line += line.empty() ? "" : ": ";
    // A text that `formatted` has already cut is slightly longer, and stays as it is.
    const bool isCut = text.size() > longestText + usualSize;
    appendEscaped(line, text.data(), isCut ? longestText : text.size());
    return line + (isCut ? " (cut)" : "");
}

}  // namespace ktrtrace
