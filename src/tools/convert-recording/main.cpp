#include "tools/convert-recording/LeftoverConversion.h"
#include "tools/convert-recording/PendingConversions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The tool's exit statuses; the greatest that applies is used.
constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitBadUsage = 2;
constexpr int exitStillWritten = 3;

/// A progress bar on standard error, if that was a terminal when the bar was created.
class ProgressBar {
public:
    ProgressBar() : terminal_(isatty(STDERR_FILENO) == 1 ? fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3) : -1) {}
    ~ProgressBar() { close(terminal_); }

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void show(float percent) const {
        constexpr int width = 40;
        const int full = static_cast<int>(std::clamp(percent, 0.0F, 100.0F) * width / 100.0F);
        write("\r[" + std::string(static_cast<std::size_t>(full), '#') +
              std::string(static_cast<std::size_t>(width - full), ' ') + "] " +
              std::to_string(static_cast<int>(percent)) + " %");
    }

    void clear() const { write("\r\033[K"); }

private:
    void write(const std::string& text) const {
        // A terminal that has disappeared is no reason to stop.
        static_cast<void>(terminal_ >= 0 && ::write(terminal_, text.data(), text.size()) < 0);
    }

    const int terminal_;
};

int statusOf(Outcome::Kind kind) {
    switch (kind) {
    case Outcome::Kind::converted:
    case Outcome::Kind::alreadyMp4:
        return exitDone;
    case Outcome::Kind::stillWritten:
        return exitStillWritten;
    case Outcome::Kind::failed:
        break;
    }
    return exitFailed;
}

}  // namespace

int main(int argc, char* argv[]) {
    std::vector<std::string> files;
    LeftoverConversion::Options options;
    bool json = false;
    bool pending = false;

    CLI::App app("Converts leftover recordings to MP4 files beside them.", "convert-recording");
    app.set_version_flag("--version", std::string("convert-recording ") + CONVERT_RECORDING_VERSION);
    auto* const names = app.add_option("FILE", files, "The recordings");
    app.add_flag("--pending", pending, "Convert the recordings that record converters have left when they ended")
        ->excludes(names);
    app.add_flag("--keep", options.keep, "Keep the recordings; otherwise each is removed once its MP4 is complete");
    app.add_flag(
        "--force", options.force,
        "Convert even a file that is still being written, once it no longer changes; its data keeps a second name");
    app.add_flag("--json", json, "One JSON object per file: source, status, destination, error, text");
    app.footer("Exit status: 0 all converted (or MP4 files already), 1 a conversion failed, 2 wrong command line,\n"
               "3 a file is still being written (and was left alone).");
    try {
        app.parse(argc, argv);
        if (files.empty() && !pending) {
            throw CLI::RequiredError("FILE");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitDone : exitBadUsage;
    }

    int status = exitDone;
    const ProgressBar bar;
    const auto progress = [&bar](float percent) { bar.show(percent); };
    const auto report = [&](const Outcome& outcome) {
        bar.clear();
        for (const std::string& note : outcome.notes) {
            std::cerr << note << std::endl;
        }
        std::ostream& output = json || statusOf(outcome.kind) == exitDone ? std::cout : std::cerr;
        output << (json ? asJson(outcome) : asText(outcome)) << std::endl;
        status = std::max(status, statusOf(outcome.kind));
    };
    if (pending) {
        PendingConversions(options, progress).convertAll(report);
    }
    for (const std::string& file : files) {
        report(LeftoverConversion(options, progress).convert(file));
    }
    return status;
}
