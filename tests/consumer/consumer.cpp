// Uses everything that the library exports, from a program that hides its own symbols.

#include <google/protobuf/arena.h>
#include <wardline/Coredump.h>
#include <wardline/StabEventReport.h>
#include <wardline/StabNotify.h>

#include "wardline_records.pb.h"

int main() {
    bool (*const decide)(const char*) = android::needCoredump;
    void (*const report)(int, int, const std::string&, unsigned long,
                         const std::map<std::string, std::string>*) = android::reportStabEvent;
    decide("consumer");
    report(2, 1, "consumer", 0, nullptr);
    notify_extra_log_finish(1);

    google::protobuf::Arena arena;
    StabEvent* const event = google::protobuf::Arena::CreateMessage<StabEvent>(&arena);
    (*event->mutable_data())["key"] = "value";
    StabEvent copy(*event);
    copy.MergeFrom(StabEvent::default_instance());
    StabEvent parsed;
    return parsed.ParseFromString(copy.SerializeAsString()) && parsed.data().at("key") == "value"
               ? 0
               : 1;
}
