// Reads state folders with the application's own reader: for each path on standard input, prints all complete entries
// in their text form, and a line with a dot.

#include "platform/BackgroundExecutor.h"
#include "platform/DispatchQueue.h"
#include "recordkeeping/PendingFolder.h"

#include <chrono>
#include <functional>
#include <iostream>
#include <string>

namespace {

/// Reading needs no syncs.
class Nothing final : public platform::BackgroundExecutor, public platform::DispatchQueue {
public:
    void async(std::function<void()> /*task*/) override {}
    void sleep(std::chrono::duration<double> /*duration*/) override {}
};

}  // namespace

int main() {
    Nothing nothing;
    for (std::string path; std::getline(std::cin, path);) {
        recordkeeping::PendingFolder folder(path, nothing, nothing);
        for (const auto& [name, entry] : folder.read()) {
            std::cout << asText(entry);
        }
        std::cout << '.' << std::endl;
    }
}
