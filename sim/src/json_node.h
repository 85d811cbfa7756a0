#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/time/time.h"
#include "bluetooth/uuid.h"
#include "tev/sim/world.h"

namespace tev {
namespace sim {

// Why a value was refused, and where. Thrown inside the loader only, and turned into a
// WorldError at its boundary.
struct Refusal {
  std::string field;
  std::string reason;
};

// One value of a world description with its path, reading it as the schema's types and
// refusing, with the path, whatever does not fit.
class JsonNode {
 public:
  JsonNode(const nlohmann::json& value, std::string path);

  const std::string& path() const { return path_; }
  [[noreturn]] void Refuse(const std::string& reason) const;

  // Objects. Every key not in `known` is refused, which catches misspelt fields.
  void ExpectObject(std::initializer_list<const char*> known) const;
  bool Has(const char* key) const;
  JsonNode Field(const char* key) const;
  std::optional<JsonNode> Optional(const char* key) const;

  std::vector<JsonNode> Items() const;

  bool IsObject() const { return value_.is_object(); }
  bool IsString() const { return value_.is_string(); }
  std::string String() const;
  bool Bool() const;
  // An integer, or a string "0x..." in hexadecimal, within [min, max].
  int64_t Integer(int64_t min, int64_t max) const;
  base::TimeDelta Millis(int64_t min, int64_t max) const;
  Address AddressValue() const;
  bluetooth::Uuid UuidValue() const;
  // Hexadecimal digits, spaces allowed between bytes.
  Bytes HexBytes() const;
  // A list of names from `names` (each with its bit) or an integer.
  int64_t Flags(std::initializer_list<std::pair<const char*, int64_t>> names, int64_t max) const;
  // One of `names`, as its index.
  size_t Choice(std::initializer_list<const char*> names) const;

 private:
  std::string Child(const char* key) const;

  const nlohmann::json& value_;
  std::string path_;
};

}  // namespace sim
}  // namespace tev
