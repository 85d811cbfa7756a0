#include "thread_usage.h"

#include <dirent.h>

#include <cstdlib>
#include <fstream>
#include <set>

namespace tev {
namespace bench {
namespace {

std::string FirstLine(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line;
}

uint64_t VoluntarySwitches(const std::string& status_path) {
  static const std::string kField = "voluntary_ctxt_switches:";
  std::ifstream in(status_path);
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, kField.size(), kField) == 0) {
      return std::strtoull(line.c_str() + kField.size(), nullptr, 10);
    }
  }
  return 0;
}

}  // namespace

ThreadUsage ThreadUsageOf(pid_t pid) {
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task/";
  // By id, so that the older of two threads of one name comes first.
  std::map<long, std::string> names;
  if (DIR* dir = opendir(tasks.c_str())) {
    while (dirent* entry = readdir(dir)) {
      const long tid = std::atol(entry->d_name);
      if (tid > 0) names[tid] = FirstLine(tasks + entry->d_name + "/comm");
    }
    closedir(dir);
  }
  ThreadUsage usage;
  std::set<std::string> seen;
  for (const auto& [tid, comm] : names) {
    std::string name = tid == pid ? "main" : comm;
    if (!seen.insert(comm).second) name = "socket_reader";
    const std::string task = tasks + std::to_string(tid);
    ThreadUse& use = usage[name];
    use.cpu_ns += std::strtoull(FirstLine(task + "/schedstat").c_str(), nullptr, 10);
    use.sleeps += VoluntarySwitches(task + "/status");
  }
  return usage;
}

void ReportThreadUsage(benchmark::State& state, const std::string& side, const ThreadUsage& before,
                       const ThreadUsage& after, int64_t items) {
  if (items <= 0) return;
  const auto per_item = [items](uint64_t now, uint64_t then) {
    return static_cast<double>(now - then) / static_cast<double>(items);
  };
  for (const auto& [name, use] : after) {
    const auto earlier = before.find(name);
    const ThreadUse start = earlier == before.end() ? ThreadUse{} : earlier->second;
    // A thread that ended in between took its figures along.
    if (use.cpu_ns <= start.cpu_ns || use.sleeps < start.sleeps) continue;
    state.counters["cpu_ns:" + side + ":" + name] = per_item(use.cpu_ns, start.cpu_ns);
    state.counters["sleeps:" + side + ":" + name] = per_item(use.sleeps, start.sleeps);
  }
}

}  // namespace bench
}  // namespace tev
