#include "support/ScriptedMediaConverter.h"

#include "support/Sequence.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <mutex>
#include <thread>

namespace support {

namespace {

struct Studio {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<ConversionScript> scripts;
    std::vector<ConversionRequest> requests;
    std::vector<std::string> lives;
    std::size_t created = 0;
    std::size_t released = 0;
    std::size_t blocked = 0;
    std::size_t abandoned = 0;
    std::size_t playing = 0;
    bool unblocked = false;
    bool refuses = false;
};

Studio& studio() {
    static Studio instance;
    return instance;
}

class ScriptedConverter final : public zed::IZedMediaConverter {
public:
    explicit ScriptedConverter(zed::IZedMediaConverterSink& sink) : sink_(sink) {}

    int Reserved1() override { return 0; }
    int Reserved2() override { return 0; }
    int Reserved3() override { return 0; }
    int Reserved5() override { return 0; }
    int Reserved6() override { return 0; }
    int Reserved7() override { return 0; }

    void Release() override;
    int Convert(const char* source, const char* destination, int tracks, int container) override;

private:
    void play(const ConversionScript& script, const std::string& destination);
    void report(float progress, const ConversionScript& script, const std::string& destination);
    bool isReleasing();
    void noteEnd();

    zed::IZedMediaConverterSink& sink_;
    std::thread player_;
    std::thread::id playing_;
    bool releasing_ = false;
    bool hasEnded_ = false;
    bool releasedByOwnCallback_ = false;
};

bool ScriptedConverter::isReleasing() {
    const std::lock_guard lock(studio().mutex);
    return releasing_;
}

void ScriptedConverter::noteEnd() {
    const std::lock_guard lock(studio().mutex);
    hasEnded_ = true;
}

void ScriptedConverter::Release() {
    {
        std::unique_lock lock(studio().mutex);
        ++studio().released;
        studio().lives.emplace_back("released");
        test::Sequence::add("media converter: released");
        releasing_ = true;
        studio().changed.notify_all();
        studio().abandoned += playing_ != std::thread::id() && !hasEnded_ ? 1U : 0U;
        if (playing_ == std::this_thread::get_id()) {
            releasedByOwnCallback_ = true;
            return;
        }
        studio().changed.wait(lock, [this] { return playing_ == std::thread::id(); });
    }
    if (player_.joinable()) {
        player_.join();
    }
    delete this;
}

int ScriptedConverter::Convert(const char* source, const char* destination, int tracks, int container) {
    ConversionScript script;
    {
        const std::lock_guard lock(studio().mutex);
        studio().requests.push_back({source, destination, tracks, container});
        ++studio().playing;
        if (!studio().scripts.empty()) {
            script = std::move(studio().scripts.front());
            studio().scripts.pop_front();
        }
    }
    if (!script.onAnotherThread) {
        play(script, destination);
        return 0;
    }
    if (player_.joinable()) {
        player_.join();
    }
    const std::lock_guard lock(studio().mutex);
    player_ = std::thread([this, script, target = std::string(destination)] { play(script, target); });
    playing_ = player_.get_id();
    return 0;
}

void ScriptedConverter::play(const ConversionScript& script, const std::string& destination) {
    {
        const std::lock_guard lock(studio().mutex);
        playing_ = std::this_thread::get_id();
    }
    for (std::size_t index = 0; index < script.progress.size(); ++index) {
        report(script.progress[index], script, destination);
        if (index == 0 && script.blocks) {
            std::unique_lock lock(studio().mutex);
            ++studio().blocked;
            studio().changed.notify_all();
            studio().changed.wait(lock, [this] { return studio().unblocked || releasing_; });
        }
    }
    if (script.error && !isReleasing()) {
        noteEnd();
        sink_.OnConvertError(*script.error);
    }
    std::unique_lock lock(studio().mutex);
    playing_ = std::thread::id();
    --studio().playing;
    const bool deletesItself = releasedByOwnCallback_;
    studio().changed.notify_all();
    lock.unlock();
    if (deletesItself) {
        if (player_.joinable()) {
            player_.detach();
        }
        delete this;
    }
}

void ScriptedConverter::report(float progress, const ConversionScript& script, const std::string& destination) {
    if (isReleasing()) {
        return;
    }
    if (progress >= 100.0F && script.output) {
        std::ofstream(destination, std::ios::binary) << *script.output;
    }
    if (progress >= 100.0F) {
        noteEnd();
    }
    sink_.OnConvertProgress(progress);
}

}  // namespace

void ScriptedMediaConverter::reset() {
    const std::lock_guard lock(studio().mutex);
    studio().scripts.clear();
    studio().requests.clear();
    studio().lives.clear();
    studio().created = studio().released = studio().blocked = studio().abandoned = 0;
    studio().unblocked = studio().refuses = false;
}

void ScriptedMediaConverter::script(ConversionScript script) {
    const std::lock_guard lock(studio().mutex);
    studio().scripts.push_back(std::move(script));
}

void ScriptedMediaConverter::refuseCreation() {
    const std::lock_guard lock(studio().mutex);
    studio().refuses = true;
}

void ScriptedMediaConverter::unblock() {
    const std::lock_guard lock(studio().mutex);
    studio().unblocked = true;
    studio().changed.notify_all();
}

bool ScriptedMediaConverter::waitUntilBlocked(std::size_t count) {
    std::unique_lock lock(studio().mutex);
    return studio().changed.wait_for(lock, std::chrono::seconds(10), [count] { return studio().blocked >= count; });
}

std::vector<ConversionRequest> ScriptedMediaConverter::requests() {
    const std::lock_guard lock(studio().mutex);
    return studio().requests;
}

std::size_t ScriptedMediaConverter::created() {
    const std::lock_guard lock(studio().mutex);
    return studio().created;
}

std::size_t ScriptedMediaConverter::released() {
    const std::lock_guard lock(studio().mutex);
    return studio().released;
}

std::size_t ScriptedMediaConverter::playing() {
    const std::lock_guard lock(studio().mutex);
    return studio().playing;
}

std::size_t ScriptedMediaConverter::abandoned() {
    const std::lock_guard lock(studio().mutex);
    return studio().abandoned;
}

std::vector<std::string> ScriptedMediaConverter::lives() {
    const std::lock_guard lock(studio().mutex);
    return studio().lives;
}

int ScriptedMediaConverter::create(zed::IZedMediaConverter** converter, zed::IZedMediaConverterSink* sink) {
    const std::lock_guard lock(studio().mutex);
    *converter = studio().refuses ? nullptr : new ScriptedConverter(*sink);
    studio().created += studio().refuses ? 0U : 1U;
    if (!studio().refuses) {
        studio().lives.emplace_back("created");
    }
    return studio().refuses ? 1 : 0;
}

void script(std::vector<float> progress, std::optional<int> error) {
    ScriptedMediaConverter::script({.progress = std::move(progress), .error = error});
}

}  // namespace support

int CreateMediaConverter(zed::IZedMediaConverter** converter, zed::IZedMediaConverterSink* sink) {
    return support::ScriptedMediaConverter::create(converter, sink);
}
