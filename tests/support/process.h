// Test support: run a program with arguments, feed its stdin, capture stdout, stderr and status.
#pragma once

#include <string>
#include <vector>

namespace nurex::test {

struct ProcessResult {
  std::string out, err;
  int status = -1;       // exit code, or 128 + signal
  bool timedOut = false;
};

struct ProcessOptions {
  std::string input;               // written to stdin, then closed
  std::string workingDirectory;    // empty: inherit
  unsigned long addressSpaceLimit = 0;  // bytes, 0: none
  int timeoutSeconds = 300;
};

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args, const ProcessOptions& options = {});

// A fresh empty directory under the system's temporary directory.
std::string makeTempDirectory();

}  // namespace nurex::test
