#pragma once

#include "mediaconverter/IZedMediaConverter.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace support {

/// The course of one conversion. Progress values are reported first, in order; then the error, if there is one.
struct ConversionScript {
    std::vector<float> progress = {0.0F, 50.0F, 100.0F};
    std::optional<int> error = std::nullopt;

    /// Waits between the first progress value and the rest until ScriptedMediaConverter::unblock() or Release().
    bool blocks = false;

    /// Reports from a separate thread; Convert returns at once.
    bool onAnotherThread = false;

    /// If set, the destination is created with this content before a progress of 100 or more is reported.
    std::optional<std::string> output = std::nullopt;
};

/// The arguments of one call of Convert.
struct ConversionRequest {
    std::string source;
    std::string destination;
    int tracks = 0;
    int container = 0;
};

/// A media converter that follows scripts. Linking it provides CreateMediaConverter; static functions, which any thread
/// may call, set its scripts. Each conversion takes the next script, or the plain one (0, 50, 100) if none is left.
/// Like the real one, it ends a job once, and makes no callback once Release has returned.
class ScriptedMediaConverter {
public:
    /// Forgets all scripts, requests and counts. No converter may be alive.
    static void reset();

    /// Queues the script of a later conversion.
    static void script(ConversionScript script);

    /// Makes CreateMediaConverter leave a null pointer, until reset().
    static void refuseCreation();

    /// Lets waiting conversions continue, and later ones not wait, until reset().
    static void unblock();

    /// Waits until `count` conversions in all have started to wait; false after ten seconds.
    static bool waitUntilBlocked(std::size_t count = 1);

    static std::vector<ConversionRequest> requests();
    static std::size_t created();
    static std::size_t released();

    /// Number of conversions that have not returned from their last callback.
    static std::size_t playing();

    /// Number of conversions whose converter was released before their end had been reported.
    static std::size_t abandoned();

    /// "created" and "released", one entry a converter's event, in order.
    static std::vector<std::string> lives();

    /// CreateMediaConverter under another name, for suites that run against several converters.
    static int create(zed::IZedMediaConverter** converter, zed::IZedMediaConverterSink* sink);
};

/// Queues the script of a later conversion that makes these reports.
void script(std::vector<float> progress, std::optional<int> error = std::nullopt);

}  // namespace support
