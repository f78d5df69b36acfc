// Test support: run a piece of code with stderr captured and the status latch reset.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/reporter.h"

namespace nurex::test {

template <class F>
std::string captureStderr(F&& body) {
  resetStatus();
  testing::internal::CaptureStderr();
  body();
  return testing::internal::GetCapturedStderr();
}

// The same with stdout swallowed: for runs whose printing is beside the point.
template <class F>
std::string quietly(F&& body) {
  testing::internal::CaptureStdout();
  std::string err = captureStderr(std::forward<F>(body));
  testing::internal::GetCapturedStdout();
  return err;
}

}  // namespace nurex::test
