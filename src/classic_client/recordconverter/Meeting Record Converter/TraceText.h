#pragma once

#include <optional>
#include <string>

/// Converts a text for a trace line. An absent text becomes null, which the trace plug-in prints in its own way.
inline const char* traceText(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}
