#pragma once

#include <stddef.h>

#include <string>
#include <vector>

/** The results of tests, as one suite of a JUnit file. */
class JUnitReport {
  public:
    explicit JUnitReport(const std::string& suite) : suite_(suite) {}

    /** Adds a test of the name "Suite.Test"; a failure has a text, the first line of which is short. */
    void add(const std::string& name, double seconds, const std::string& failure);

    /** Writes the suite; false when the file does not take it. */
    bool write(const std::string& path) const;

    size_t tests() const { return cases_.size(); }
    size_t failures() const { return failures_; }

  private:
    std::string suite_;
    std::vector<std::string> cases_;
    size_t failures_ = 0;
    double seconds_ = 0;
};
