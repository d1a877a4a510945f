#pragma once

// The program's exit codes.

constexpr int kDone = 0;
constexpr int kBadData = 1;  // Or anything else that went wrong in the doing.
constexpr int kBadUsage = 2;
