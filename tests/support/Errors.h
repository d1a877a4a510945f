// Errors that pass through the library. Where it was built with exceptions they reach the caller;
// where not, as on the image, they end the process: the call is made in a child then, and what it
// changes in this process's memory is not seen here.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#ifdef __cpp_exceptions
#define EXPECT_ERROR(call, Exception) EXPECT_THROW(call, Exception)
#define EXPECT_JSON_ERROR(call) EXPECT_ERROR(call, Json::Exception)
#else
#define EXPECT_ERROR(call, Exception) \
    EXPECT_EXIT(call, testing::KilledBySignal(SIGABRT), "uncaught exception of type " #Exception)
// The JSON library was built without exceptions too, and aborts.
#define EXPECT_JSON_ERROR(call) EXPECT_EXIT(call, testing::KilledBySignal(SIGABRT), kJsonError)
#endif

/** What a process says that ends by an error of the JSON library: nothing, where this aborts. */
#ifdef __cpp_exceptions
inline constexpr char kJsonError[] = "Json::";
#else
inline constexpr char kJsonError[] = "";
#endif
