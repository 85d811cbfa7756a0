#pragma once

#include <string>
#include <vector>

#include "tev/testing/stack/callback_event.h"

namespace tev {
namespace testing {

// A callback the stack may receive, with the fields its event reports. Events with open fields
// (properties, GATT elements) report further fields named after their content.
struct CallbackSchema {
  Table table;
  std::string slot;
  std::vector<std::string> fields;
  bool openFields = false;
  bool inlineResult = false;

  std::string Name() const;
};

// Every slot of the tables and every inline result the driver asks for; the decoder's test
// keeps the two in step.
const std::vector<CallbackSchema>& CallbackSchemas();

}  // namespace testing
}  // namespace tev
