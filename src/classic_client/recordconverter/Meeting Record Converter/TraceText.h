#pragma once

#include <optional>
#include <string>

/// A text as a trace line takes it. An absent one goes as null, and the trace plug-in prints it in its own way.
inline const char* traceText(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}
