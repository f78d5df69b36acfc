// Child processes for end-to-end tests, with pipes drained concurrently to avoid stalls.
#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

namespace nurex::test {

std::string makeTempDirectory() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/nurex_test_XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  return mkdtemp(buffer.data()) ? buffer.data() : "";
}

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args, const ProcessOptions& options) {
  ProcessResult result;
  int in[2], out[2], err[2];
  if (pipe(in) || pipe(out) || pipe(err)) return result;
  pid_t pid = fork();
  if (pid == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
    if (!options.workingDirectory.empty() && chdir(options.workingDirectory.c_str()) != 0) _exit(126);
    if (options.addressSpaceLimit) {
      rlimit limit{options.addressSpaceLimit, options.addressSpaceLimit};
      setrlimit(RLIMIT_AS, &limit);
    }
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  signal(SIGPIPE, SIG_IGN);
  size_t written = 0;
  if (options.input.empty()) close(in[1]);
  else fcntl(in[1], F_SETFL, O_NONBLOCK);
  bool inputOpen = !options.input.empty(), outOpen = true, errOpen = true;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(options.timeoutSeconds);
  while (outOpen || errOpen) {
    pollfd fds[3];
    int n = 0;
    if (outOpen) fds[n++] = {out[0], POLLIN, 0};
    if (errOpen) fds[n++] = {err[0], POLLIN, 0};
    if (inputOpen) fds[n++] = {in[1], POLLOUT, 0};
    if (std::chrono::steady_clock::now() > deadline) {
      kill(pid, SIGKILL);
      result.timedOut = true;
      break;
    }
    if (poll(fds, n, 200) <= 0) continue;
    for (int i = 0; i < n; ++i) {
      if (!fds[i].revents) continue;
      if (fds[i].fd == in[1]) {
        ssize_t k = write(in[1], options.input.data() + written, options.input.size() - written);
        if (k > 0) written += static_cast<size_t>(k);
        if (k < 0 || written == options.input.size()) {
          close(in[1]);
          inputOpen = false;
        }
        continue;
      }
      char buffer[65536];
      ssize_t k = read(fds[i].fd, buffer, sizeof buffer);
      std::string& target = fds[i].fd == out[0] ? result.out : result.err;
      if (k > 0) target.append(buffer, static_cast<size_t>(k));
      else {
        (fds[i].fd == out[0] ? outOpen : errOpen) = false;
      }
    }
  }
  if (inputOpen) close(in[1]);
  close(out[0]);
  close(err[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace nurex::test
