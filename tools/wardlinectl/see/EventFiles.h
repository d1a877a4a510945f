#pragma once

#include <sys/stat.h>

#include <map>
#include <string>
#include <vector>

#include "see/RecordWriter.h"

/** A file in the monitor directory or in one of its folders. */
struct EventFile {
    std::string name;  // From the monitor directory on.
    struct stat status;
};

/** Looks for stability event files, again and again. */
class EventFiles {
  public:
    /**
     * Returns the files that were not returned before or have changed since, oldest first by the
     * times in their names. With onlyWhole, a file that may be being written comes later.
     */
    std::vector<EventFile> takeNew(bool onlyWhole);

    /** Why the latest look may have missed some; empty when it has not. */
    std::string problem() const;

  private:
    /** What changes when a file is written again. */
    struct Version {
        explicit Version(const struct stat& status);
        bool operator==(const Version&) const = default;

        ino_t inode;
        off_t size;
        int64_t changedNs;
    };

    bool isNew(const EventFile& file, bool onlyWhole);

    std::map<std::string, Version> taken_;
    std::map<std::string, Version> waiting_;
    std::string problem_;
    bool isFirst_ = true;
};

/** Shows a file: the parts of its name and its content. False when they are damaged or differ. */
bool showEventFile(const EventFile& file, RecordWriter& writer);
