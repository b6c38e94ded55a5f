#pragma once

#include "mediaconverter/IZedMediaConverter.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace support {

/// What one conversion is to do. Progress values are reported first, in order; then the error, where there is one.
struct ConversionScript {
    std::vector<float> progress = {0.0F, 50.0F, 100.0F};
    std::optional<int> error = std::nullopt;

    /// Waits between the first progress value and the rest until ScriptedMediaConverter::unblock() or Release().
    bool blocks = false;

    /// Reports from a thread of its own; Convert returns at once.
    bool onAnotherThread = false;

    /// Where given, the destination is made with this content before a progress of 100 or more is reported.
    std::optional<std::string> output = std::nullopt;
};

/// One call of Convert, as it came.
struct ConversionRequest {
    std::string source;
    std::string destination;
    int tracks = 0;
    int container = 0;
};

/// A media converter that does as it is told. Linking it provides CreateMediaConverter; what it is to do is set
/// through the static functions, which any thread may call. Each conversion takes the next script, or the plain one
/// (0, 50, 100) when none is left. Like the real one: one ending a job, and no callback once Release has returned.
class ScriptedMediaConverter {
public:
    /// Forgets all scripts, requests and counts. No converter may be alive.
    static void reset();

    /// Queues the script of a conversion to come.
    static void script(ConversionScript script);

    /// Makes CreateMediaConverter leave a null pointer, until reset().
    static void refuseCreation();

    /// Lets the conversions that wait go on, and those to come not wait, until reset().
    static void unblock();

    /// Waits until as many conversions as `count` in all have begun to wait; false after ten seconds.
    static bool waitUntilBlocked(std::size_t count = 1);

    static std::vector<ConversionRequest> requests();
    static std::size_t created();
    static std::size_t released();

    /// Conversions that have not returned from their last callback.
    static std::size_t playing();

    /// Conversions whose converter was released before their end had been reported.
    static std::size_t abandoned();

    /// "created" and "released", one entry a converter's event, in order.
    static std::vector<std::string> lives();

    /// CreateMediaConverter by another name, for suites that run against several converters.
    static int create(zed::IZedMediaConverter** converter, zed::IZedMediaConverterSink* sink);
};

}  // namespace support
