// Linux implementations of the platform services.
#include "platform/system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "platform/reporter.h"

namespace nurex {

namespace {
std::vector<std::string> temporaryFiles;

std::string deletionFailureReason(int error) {
  if (error == EACCES || error == EPERM || error == EROFS || error == EBUSY)
    return "the file is either read-only or open";
  if (error == ENOENT || error == EISDIR || error == ENOTDIR)
    return "the file name or path was not found, or the path specifies a directory";
  return "the reason is unknown";
}

bool readWhole(const std::string& path, std::string& text) {
  std::ifstream in(path);
  if (!in) return false;
  std::ostringstream buffer;
  buffer << in.rdbuf();
  text = buffer.str();
  return true;
}
}  // namespace

FILE* createTempFile() {
  const char* dir = std::getenv("TMPDIR");
  std::string name = std::string(dir && *dir ? dir : "/tmp") + "/_tmpXXXXXX";
  std::vector<char> buffer(name.begin(), name.end());
  buffer.push_back('\0');
  int fd = mkstemp(buffer.data());
  name = buffer.data();
  FILE* file = fd >= 0 ? fdopen(fd, "w+") : nullptr;
  if (!file) {
    if (fd >= 0) close(fd);
    reportError("failed to create a temporary file (" + name + ")");
    return nullptr;
  }
  temporaryFiles.push_back(name);
  return file;
}

void discardLastTempFile(FILE* file) {
  std::fclose(file);
  if (temporaryFiles.empty()) return;
  if (std::remove(temporaryFiles.back().c_str()) != 0)
    reportWarning("failed to delete a temporary file " + temporaryFiles.back() + ": " + deletionFailureReason(errno));
  temporaryFiles.pop_back();
}

void deleteTempFiles() {
  for (const std::string& name : temporaryFiles)
    if (std::remove(name.c_str()) != 0)
      reportWarning("failed to delete a temporary file " + name + ": " + deletionFailureReason(errno));
  temporaryFiles.clear();
}

bool sameFile(const std::string& a, const std::string& b) {
  struct stat x, y;
  return stat(a.c_str(), &x) == 0 && stat(b.c_str(), &y) == 0 && x.st_dev == y.st_dev && x.st_ino == y.st_ino;
}

bool closeWrittenFile(FILE* file) {
  bool ok = std::fflush(file) == 0 && !std::ferror(file);
  return std::fclose(file) == 0 && ok;
}

unsigned countCoresInCpuinfo(const std::string& text) {
  // A core is a distinct (physical id, core id) pair among the processor records.
  std::set<std::pair<std::string, std::string>> cores;
  std::istringstream in(text);
  std::string line, physical = "0";
  while (std::getline(in, line)) {
    auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string key = line.substr(0, line.find_last_not_of(" \t", colon - 1) + 1);
    std::string value = line.substr(colon + 1);
    value.erase(0, value.find_first_not_of(" \t"));
    if (key == "processor") physical = "0";
    else if (key == "physical id") physical = value;
    else if (key == "core id") cores.insert({physical, value});
  }
  return static_cast<unsigned>(cores.size());
}

namespace {
thread_local unsigned reservedCores = 0;

unsigned physicalCores();
}  // namespace

void reserveCores(unsigned count) { reservedCores = count; }

unsigned processorCores() {
  unsigned cores = physicalCores();
  return cores > reservedCores ? cores - reservedCores : 1;
}

namespace {

unsigned physicalCores() {
  // sysfs topology first: one (package, core) pair per physical core.
  std::set<std::pair<std::string, std::string>> cores;
  for (unsigned cpu = 0; cpu < 4096; ++cpu) {
    std::string base = "/sys/devices/system/cpu/cpu" + std::to_string(cpu) + "/topology/";
    std::string package, core;
    if (!readWhole(base + "core_id", core)) {
      if (access(("/sys/devices/system/cpu/cpu" + std::to_string(cpu)).c_str(), F_OK) != 0) break;
      continue;  // offline CPU without topology
    }
    if (!readWhole(base + "physical_package_id", package)) package = "0";
    cores.insert({package, core});
  }
  if (!cores.empty()) return static_cast<unsigned>(cores.size());
  std::string cpuinfo;
  unsigned count = readWhole("/proc/cpuinfo", cpuinfo) ? countCoresInCpuinfo(cpuinfo) : 0;
  if (count) return count;
  reportWarning("failed to determine the number of processor cores; assuming 1");
  return 1;
}

}  // namespace

unsigned onlineProcessors() {
  long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n > 0 ? static_cast<unsigned>(n) : 0;
}

// The fourth field of /proc/loadavg is "running/total"; read with plain system calls, as the
// unfolder's pool asks while it runs.
unsigned runnableTasks() {
  int fd = open("/proc/loadavg", O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  char text[128];
  ssize_t length = read(fd, text, sizeof text - 1);
  close(fd);
  if (length <= 0) return 0;
  text[length] = '\0';
  return parseRunnableTasks(text);
}

unsigned parseRunnableTasks(const char* loadavg) {
  const char* p = loadavg;
  for (int field = 0; field < 3; ++field) {
    while (*p && *p != ' ') ++p;
    while (*p == ' ') ++p;
  }
  unsigned n = 0;
  bool digits = false;
  for (; *p >= '0' && *p <= '9'; ++p, digits = true) n = n * 10 + static_cast<unsigned>(*p - '0');
  return digits && *p == '/' ? n : 0;
}

double monotonicSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace nurex
