#pragma once

#include <string>

namespace base {

// Where a task was posted from.
class Location {
 public:
  constexpr Location() = default;
  constexpr Location(const char* function_name, const char* file_name, int line_number)
      : function_name_(function_name), file_name_(file_name), line_number_(line_number) {}

  constexpr const char* function_name() const { return function_name_; }
  constexpr const char* file_name() const { return file_name_; }
  constexpr int line_number() const { return line_number_; }
  std::string ToString() const;

 private:
  const char* function_name_ = "unknown";
  const char* file_name_ = "unknown";
  int line_number_ = -1;
};

}  // namespace base

#define FROM_HERE ::base::Location(__func__, __FILE__, __LINE__)
