#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "command_parser.h"
#include "mojom/bluetooth.mojom.h"

namespace tev {
namespace bttev {

// The KEY=VALUE words of a `host send` line, read into the bridge's records. A bad value records
// the first error and gives a neutral value, so a builder reads all it needs and then tests ok().
// Keys may repeat (prop=, element=, record=); a key no reader asked for is an error.
class HostEventArgs {
 public:
  explicit HostEventArgs(const std::vector<Token>& words);

  // An absent key, or "null", gives a null record (the library reads all zeros).
  tev::mojom::BluetoothAddressPtr Address(const std::string& key);
  int64_t Int(const std::string& key, int64_t fallback);
  std::vector<uint8_t> Bytes(const std::string& key);
  bluetooth::Uuid Uuid(const std::string& key);
  // UUID@HANDLE, for service= and char=.
  tev::mojom::BluetoothGattIDPtr GattId(const std::string& key);
  // prop=KIND:VALUE, in order.
  std::vector<tev::mojom::BluetoothPropertyPtr> Properties();
  // element=TYPE:UUID:HANDLE[:START:END[:PROPERTIES[:ID]]], in order.
  std::vector<tev::mojom::BluetoothGattDBElementPtr> Elements();
  // record=UUID:CHANNEL:PSM:VERSION[:NAME], in order.
  std::vector<tev::mojom::BluetoothSdpRecordPtr> SdpRecords();

  // Every key was read and every value was good.
  bool Finish(std::string* error);
  // The words as written, for the journal.
  const std::string& summary() const { return summary_; }

 private:
  struct Word {
    std::string key;
    std::string value;
    bool quoted = false;
  };
  std::vector<const Word*> all(const std::string& key);
  const Word* one(const std::string& key);
  void fail(const std::string& reason);
  tev::mojom::BluetoothPropertyPtr property(const Word& word);

  std::vector<Word> words_;
  std::set<std::string> read_;
  std::string summary_;
  std::string error_;
};

}  // namespace bttev
}  // namespace tev
