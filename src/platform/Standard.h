#pragma once

#include <atomic>

namespace platform {

/// The provider of a service that the whole program shares: the one that was installed, or else a default. Any thread.
template<typename Service>
class Standard {
public:
    /// `service` must outlive every use; null brings the default back.
    void install(Service* service) { installed_.store(service); }

    Service& orElse(Service& fallback) const {
        Service* const service = installed_.load();
        return service != nullptr ? *service : fallback;
    }

private:
    std::atomic<Service*> installed_{nullptr};
};

}  // namespace platform
