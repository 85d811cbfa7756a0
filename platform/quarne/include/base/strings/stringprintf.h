#pragma once

#include <cstdarg>
#include <string>

namespace base {

std::string StringPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string StringPrintV(const char* format, va_list ap) __attribute__((format(printf, 1, 0)));
void StringAppendF(std::string* dst, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace base
