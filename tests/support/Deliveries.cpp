#include "Deliveries.h"

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "CloudConfigTest.h"

namespace {

constexpr std::chrono::seconds kDeadline(30);

using Work = std::function<void(const std::string&, android::__StabCloudConfig&)>;

struct Notes {
    std::mutex mutex;
    std::condition_variable noted;
    std::vector<Delivery> deliveries;
    std::vector<std::string> versions;
    Work work;
};

Notes& notes() {
    static Notes* const notes = new Notes;  // Outlives the watcher.
    return *notes;
}

void note(const std::string& subscriber, android::__StabCloudConfig& config) {
    Work work;
    {
        const std::lock_guard lock(notes().mutex);
        notes().deliveries.push_back({subscriber, describe(config), &config, gettid()});
        notes().versions.push_back(subscriber + " " + std::to_string(config.version));
        work = notes().work;
    }
    notes().noted.notify_all();
    if (work) work(subscriber, config);
}

}  // namespace

void subscriberA(android::__StabCloudConfig& config) {
    note("A", config);
}

void subscriberB(android::__StabCloudConfig& config) {
    note("B", config);
}

std::vector<Delivery> deliveries() {
    const std::lock_guard lock(notes().mutex);
    return notes().deliveries;
}

bool awaitDeliveries(size_t count) {
    std::unique_lock lock(notes().mutex);
    return notes().noted.wait_for(lock, kDeadline,
                                  [&] { return notes().deliveries.size() >= count; });
}

std::vector<std::string> deliveredVersions() {
    const std::lock_guard lock(notes().mutex);
    return notes().versions;
}

void atDelivery(Work work) {
    const std::lock_guard lock(notes().mutex);
    notes().work = std::move(work);
}

struct HeldWatcher::State {
    std::mutex mutex;
    std::condition_variable changed;
    bool isHeld = false;
    bool isReleased = false;
};

HeldWatcher::HeldWatcher() : state_(std::make_shared<State>()) {
    atDelivery([state = state_](auto&, auto&) {
        std::unique_lock lock(state->mutex);
        state->isHeld = true;
        state->changed.notify_all();
        state->changed.wait_for(lock, kDeadline, [&] { return state->isReleased; });
    });
}

HeldWatcher::~HeldWatcher() {
    release();
    atDelivery(nullptr);
}

bool HeldWatcher::await() {
    std::unique_lock lock(state_->mutex);
    return state_->changed.wait_for(lock, kDeadline, [&] { return state_->isHeld; });
}

void HeldWatcher::release() {
    const std::lock_guard lock(state_->mutex);
    state_->isReleased = true;
    state_->changed.notify_all();
}
