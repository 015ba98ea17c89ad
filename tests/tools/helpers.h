#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

/// What a call gave back and what it printed.
template <class Result>
struct Outcome {
    Result result;
    std::string out;
    std::string err;
};

template <class Call>
auto caught(Call call) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    auto result = call();
    std::string out = testing::internal::GetCapturedStdout();
    return Outcome<decltype(result)>{std::move(result), std::move(out),
                                     testing::internal::GetCapturedStderr()};
}
