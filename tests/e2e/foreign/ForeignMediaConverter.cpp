// Media converters of other makers, for tests. What this one does is its own choice of FOREIGN_MEDIA_CONVERTER:
//   copy      copies the bytes on the calling thread, reporting 0, 50 and 100
//   thread    the same, but returns at once and calls back from a thread of its own
//   twice     the same, but takes half a second and ends each job twice; gives up when it is released meanwhile
//   error N   reports error N at once
//   none      can't be created
// Built against nothing but the interface's shape: the fourth virtual operation releases, the eighth converts.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace foreign {

class Sink {
public:
    virtual ~Sink() = default;
    virtual void progress(float percent) = 0;
    virtual void error(int code) = 0;
};

// Final, because the interface has no virtual destructor.
class Converter final {
public:
    virtual void first() {}
    virtual void second() {}
    virtual void third() {}
    virtual void release() {
        isReleased_ = true;
        if (thread_.joinable()) {
            // This call may come from the last callback of the job.
            thread_.get_id() == std::this_thread::get_id() ? thread_.detach() : thread_.join();
        }
        delete this;
    }
    virtual void fifth() {}
    virtual void sixth() {}
    virtual void seventh() {}
    virtual void convert(const char* source, const char* destination, int tracks, int container) {
        if (tracks != 3 || container != 4) {
            sink_.error(1000);
            return;
        }
        const std::string how = std::getenv("FOREIGN_MEDIA_CONVERTER");
        if (how.rfind("error ", 0) == 0) {
            sink_.error(std::atoi(how.c_str() + 6));
        } else if (how == "twice") {
            thread_ = std::thread([this, from = std::string(source), to = std::string(destination)] {
                if (hasHalfASecond()) {
                    copy(from, to);
                    sink_.progress(100.0F);
                }
            });
        } else if (how == "thread") {
            thread_ =
                std::thread([this, from = std::string(source), to = std::string(destination)] { copy(from, to); });
        } else {
            copy(source, destination);
        }
    }

    explicit Converter(Sink& sink) : sink_(sink) {}

private:
    bool hasHalfASecond() const {
        for (int step = 0; step < 50 && !isReleased_; ++step) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return !isReleased_;
    }

    void copy(const std::string& from, const std::string& to) {
        sink_.progress(0.0F);
        std::ifstream source(from, std::ios::binary);
        std::ofstream destination(to, std::ios::binary);
        sink_.progress(50.0F);
        destination << source.rdbuf();
        destination.close();
        sink_.progress(100.0F);
    }

    Sink& sink_;
    std::thread thread_;
    std::atomic<bool> isReleased_ = false;
};

}  // namespace foreign

extern "C" __attribute__((visibility("default"))) int CreateMediaConverter(foreign::Converter** converter,
                                                                           foreign::Sink* sink) {
    const char* const how = std::getenv("FOREIGN_MEDIA_CONVERTER");
    if (how == nullptr || std::string(how) == "none") {
        return 1;
    }
    *converter = new foreign::Converter(*sink);
    return 0;
}
