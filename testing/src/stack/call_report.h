#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tev/testing/stack/callback_event.h"

namespace tev {
namespace testing {

// Hands a decoded call to the sink, stamped with the calling thread and the time.
void Deliver(CallbackEvent event);

// Collects one call's fields, its text for the tests and the problems of its arguments, then
// delivers it. Text and fields mostly carry the same values in the same order; Text() and Only()
// add to one of them where they differ. Every pointer is read in full while the call runs, so
// that the sanitizers see a dangling one.
class CallReport {
 public:
  CallReport(Table table, const char* slot);

  CallReport& Num(const char* name, int64_t value, const char* label = "");
  // Numbers, in order.
  CallReport& Nums(std::initializer_list<std::pair<const char*, int64_t>> numbers);
  // A bt_status_t, labelled.
  CallReport& Status(const char* name, int64_t status);
  // A null pointer is a problem.
  CallReport& Addr(const char* name, const RawAddress* address);
  CallReport& Uuid(const char* name, const bluetooth::Uuid& uuid);
  // A null pointer with a length is a problem. `inText` false keeps it out of the tests' text.
  CallReport& Bytes(const char* name, const uint8_t* bytes, size_t length, bool inText = true);
  // An attribute value, which the HAL caps at BTGATT_MAX_ATTR_LEN bytes.
  CallReport& Value(const char* name, const uint8_t* bytes, size_t length, bool inText = true);
  CallReport& Properties(int count, const bt_property_t* properties);
  CallReport& Elements(const btgatt_db_element_t* elements, int64_t count);
  CallReport& Range(const char* what, int64_t value, int64_t low, int64_t high);
  CallReport& Problem(const std::string& what);
  // Only in the tests' text.
  CallReport& Text(const std::string& piece);
  // Only in the fields.
  CallReport& Only(Field field);
  CallReport& Inline();

  void Send();

 private:
  CallbackEvent event_;
  size_t pieces_ = 0;
};

// One field per property value, named after its type ("bdname", "uuid", "bonded" ...); list
// properties give one field per element.
void AppendProperties(int count, const bt_property_t* properties, std::vector<Field>* fields);
// One field per element, "<kind>:<uuid>" = attribute handle ("char:2a37=3").
void AppendDbElements(const btgatt_db_element_t* elements, size_t count,
                      std::vector<Field>* fields);
// "{id type handle start end properties uuid}", as the tests read an element.
std::string ElementText(const btgatt_db_element_t& element);
// The complete or shortened local name carried in advertising data, if any.
std::string AdvertisedName(const std::vector<uint8_t>& data);
// Counts, pointers and the payload size and form each property type has; one line per problem.
void CheckProperties(int count, const bt_property_t* properties,
                     std::vector<std::string>* problems);

}  // namespace testing
}  // namespace tev
