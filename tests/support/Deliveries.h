#pragma once

#include <sys/types.h>
#include <wardline/CloudConfig.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/** One call of a subscriber. */
struct Delivery {
    std::string subscriber;
    std::string config;                        // As describe() gives it.
    const android::__StabCloudConfig* record;  // What it was handed; only to be compared.
    pid_t thread;
};

// Subscribers that note what they are handed.
void subscriberA(android::__StabCloudConfig& config);
void subscriberB(android::__StabCloudConfig& config);

/** All of this process so far, in order. */
std::vector<Delivery> deliveries();

/** Waits until there have been that many; false when there have not within a deadline. */
bool awaitDeliveries(size_t count);

/** "A 2" for each delivery so far to subscriberA of a configuration of version 2. */
std::vector<std::string> deliveredVersions();

/** Calls work on the watcher's thread at each further delivery, when it has been noted. */
void atDelivery(
    std::function<void(const std::string& subscriber, android::__StabCloudConfig&)> work);

/** Holds the watcher in its next callback, until it is released. */
class HeldWatcher {
  public:
    HeldWatcher();
    ~HeldWatcher();
    HeldWatcher(const HeldWatcher&) = delete;
    HeldWatcher& operator=(const HeldWatcher&) = delete;

    /** Waits until the watcher is in the callback; false when it is not within a deadline. */
    bool await();

    void release();

  private:
    struct State;
    std::shared_ptr<State> state_;
};
