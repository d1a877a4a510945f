#pragma once

#include <string>

#include "CloudConfigTest.h"

/** A configuration of which nothing is set. */
inline constexpr char kNothing[] = "version 0; dma false 0 0; processes false 0; options";

/**
 * A test of the configuration's parser. There is no watcher: each call of getCloudConfig() parses the
 * file, as long as none has left a version.
 */
class ParseTest : public CloudConfigTest {
  protected:
    ParseTest() { withoutWatcher(); }

    /** What a call that reads this text returns. */
    static std::string parse(const std::string& text);

    /** Expects that a call that reads this text fails. */
    static void expectFault(const std::string& text);

    /** The record as it is. From then on its version, if it has one, counts as loaded. */
    static std::string leftover();
};

/** A configuration that holds nothing but these processes. */
std::string processes(const std::string& entries);
