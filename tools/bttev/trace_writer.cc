#include "trace_writer.h"

#include <fstream>

#include "base/strings/stringprintf.h"
#include "stack_side.h"

namespace tev {
namespace bttev {
namespace {

std::string jsonString(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      default:
        if (c < 0x20) {
          base::StringAppendF(&out, "\\u%04x", c);
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

std::string baseName(const char* path) {
  const std::string text = path ? path : "";
  const size_t slash = text.rfind('/');
  return slash == std::string::npos ? text : text.substr(slash + 1);
}

// Messages are posted with the method as function and the interface as file, and line 0.
bool isMessage(const base::Location& location) { return location.line_number() == 0; }

std::string taskName(const base::Location& location) {
  if (isMessage(location)) return location.function_name();
  return base::StringPrintf("%s %s:%d", location.function_name(), baseName(location.file_name()).c_str(),
                            location.line_number());
}

int sortIndex(const std::string& name) {
  if (name == "stack") return 0;
  if (name == "mojo_ipc") return 1;
  if (name == "bt_tev_callback") return 2;
  if (name == "quarne_bt_host") return 3;
  return 4;
}

}  // namespace

TraceWriter::TraceWriter() : start_(std::chrono::steady_clock::now()) {}

int64_t TraceWriter::nowMicros() const {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start_).count();
}

void TraceWriter::addLocked(char phase, uint64_t thread, std::string name, std::string category, uint64_t flow,
                            std::string detail) {
  events_.push_back(Event{phase, nowMicros(), thread, std::move(name), std::move(category), flow, std::move(detail)});
}

void TraceWriter::OnPosted(uint64_t id, const base::Location&) {
  const ThreadRef thread = CurrentThread();
  std::lock_guard<std::mutex> lock(mutex_);
  threadNames_.emplace(thread.id, thread.name);
  if (depth_[thread.id] == 0) return;
  flowsStarted_.insert(id);
  addLocked('s', thread.id, "post", "flow", id);
}

void TraceWriter::OnStarted(uint64_t id, const base::Location& from_here) {
  const ThreadRef thread = CurrentThread();
  std::lock_guard<std::mutex> lock(mutex_);
  threadNames_.emplace(thread.id, thread.name);
  ++depth_[thread.id];
  const std::string detail = isMessage(from_here) ? std::string(from_here.file_name()) : "";
  addLocked('B', thread.id, taskName(from_here), isMessage(from_here) ? "message" : "task", 0, detail);
  if (flowsStarted_.erase(id)) addLocked('f', thread.id, "post", "flow", id);
}

void TraceWriter::OnFinished(uint64_t, const base::Location&) {
  const ThreadRef thread = CurrentThread();
  std::lock_guard<std::mutex> lock(mutex_);
  --depth_[thread.id];
  addLocked('E', thread.id, "", "");
}

void TraceWriter::BeginSlice(const std::string& name, const std::string& category, const std::string& detail) {
  const ThreadRef thread = CurrentThread();
  std::lock_guard<std::mutex> lock(mutex_);
  threadNames_.emplace(thread.id, thread.name);
  ++depth_[thread.id];
  addLocked('B', thread.id, name, category, 0, detail);
}

void TraceWriter::EndSlice() {
  const ThreadRef thread = CurrentThread();
  std::lock_guard<std::mutex> lock(mutex_);
  --depth_[thread.id];
  addLocked('E', thread.id, "", "");
}

std::string TraceWriter::ToJson() const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::string out = "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n";
  bool first = true;
  auto emit = [&](const std::string& event) {
    out += (first ? "" : ",\n") + event;
    first = false;
  };
  emit("{\"ph\":\"M\",\"pid\":1,\"tid\":0,\"name\":\"process_name\",\"args\":{\"name\":\"bttev\"}}");
  for (const auto& [id, name] : threadNames_) {
    emit(base::StringPrintf("{\"ph\":\"M\",\"pid\":1,\"tid\":%llu,\"name\":\"thread_name\",\"args\":{\"name\":%s}}",
                            static_cast<unsigned long long>(id), jsonString(name).c_str()));
    emit(base::StringPrintf(
        "{\"ph\":\"M\",\"pid\":1,\"tid\":%llu,\"name\":\"thread_sort_index\",\"args\":{\"sort_index\":%d}}",
        static_cast<unsigned long long>(id), sortIndex(name)));
  }
  for (const Event& event : events_) {
    // A post whose task never ran (dropped, or still queued) has no arrow.
    if (event.phase == 's' && flowsStarted_.count(event.flow)) continue;
    std::string text =
        base::StringPrintf("{\"ph\":\"%c\",\"pid\":1,\"tid\":%llu,\"ts\":%lld", event.phase,
                           static_cast<unsigned long long>(event.thread), static_cast<long long>(event.micros));
    if (event.phase == 'B' || event.phase == 's' || event.phase == 'f') {
      text += ",\"name\":" + jsonString(event.name) + ",\"cat\":" + jsonString(event.category);
    }
    if (event.phase == 's' || event.phase == 'f') {
      text += base::StringPrintf(",\"id\":%llu", static_cast<unsigned long long>(event.flow));
    }
    if (event.phase == 'f') text += ",\"bp\":\"e\"";
    if (!event.detail.empty()) text += ",\"args\":{\"detail\":" + jsonString(event.detail) + "}";
    emit(text + "}");
  }
  // Slices still open (a task running while the trace is written) end here, so that every
  // track's slices nest.
  const int64_t now = nowMicros();
  for (const auto& [thread, open] : depth_) {
    for (int i = 0; i < open; ++i) {
      emit(base::StringPrintf("{\"ph\":\"E\",\"pid\":1,\"tid\":%llu,\"ts\":%lld}",
                              static_cast<unsigned long long>(thread), static_cast<long long>(now)));
    }
  }
  return out + "\n]}\n";
}

bool TraceWriter::Write(const std::string& path, std::string* error) const {
  const std::string json = ToJson();
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) {
    *error = "cannot write the trace to " + path;
    return false;
  }
  file << json;
  file.close();
  if (!file) {
    *error = "cannot write the trace to " + path;
    return false;
  }
  return true;
}

}  // namespace bttev
}  // namespace tev
