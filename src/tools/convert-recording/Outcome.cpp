#include "tools/convert-recording/Outcome.h"

#include <array>
#include <cstdio>

namespace {

// Length of the UTF-8 sequence that starts at `at`, 0 if there is none.
std::size_t sequenceAt(const std::string& text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    const std::size_t length = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if ((first >= 0x80 && first < 0xC2) || first > 0xF4 || at + length > text.size()) {
        return 0;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((static_cast<unsigned char>(text[at + index]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    return length;
}

std::string escaped(unsigned int code) {
    std::array<char, 8> text{};
    const int length = std::snprintf(text.data(), text.size(), "\\u%04x", code & 0xFFFFU);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = sequenceAt(text, at);
        const auto byte = static_cast<unsigned char>(text[at]);
        if (length == 0) {
            result += escaped(0xDC00U + byte);
        } else if (byte < 0x20) {
            result += escaped(byte);
        } else {
            result += byte == '"' || byte == '\\' ? "\\" : "";
            result += text.substr(at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return result + '"';
}

const char* statusOf(Outcome::Kind kind) {
    switch (kind) {
    case Outcome::Kind::converted:
        return "converted";
    case Outcome::Kind::alreadyMp4:
        return "already-mp4";
    case Outcome::Kind::stillWritten:
        return "still-written";
    case Outcome::Kind::failed:
        break;
    }
    return "failed";
}

}  // namespace

std::string asText(const Outcome& outcome) {
    if (outcome.kind == Outcome::Kind::converted) {
        return outcome.source + " -> " + outcome.destination + (outcome.text.empty() ? "" : " (" + outcome.text + ")");
    }
    const std::string code = outcome.error != 0 ? " (error " + std::to_string(outcome.error) + ")" : "";
    return outcome.source + ": " + outcome.text + code;
}

std::string asJson(const Outcome& outcome) {
    std::string result = "{\"source\":" + quoted(outcome.source) + ",\"status\":" + quoted(statusOf(outcome.kind));
    if (!outcome.destination.empty()) {
        result += ",\"destination\":" + quoted(outcome.destination);
    }
    if (outcome.error != 0) {
        result += ",\"error\":" + std::to_string(outcome.error);
    }
    if (!outcome.text.empty()) {
        result += ",\"text\":" + quoted(outcome.text);
    }
    return result + '}';
}
