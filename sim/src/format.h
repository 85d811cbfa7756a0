#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bluetooth/uuid.h"
#include "mojom/bluetooth.mojom.h"
#include "tev/sim/world.h"

namespace tev {
namespace sim {

// Conversions between the world's types and the bridge's records.
tev::mojom::BluetoothAddressPtr ToMojo(const Address& address);
// Nothing for a null record or one whose length is not 6.
std::optional<Address> FromMojo(const tev::mojom::BluetoothAddressPtr& address);

// Short texts for the journal.
std::string AddrText(const Address& address);
std::string AddrText(const tev::mojom::BluetoothAddressPtr& address);
// "180d" for a UUID of the Bluetooth base, the full form otherwise.
std::string UuidText(const bluetooth::Uuid& uuid);
// Hexadecimal, cut after `limit` bytes with the full length noted.
std::string HexText(const std::vector<uint8_t>& bytes, size_t limit = 20);
// "2a37@5": UUID and handle.
std::string GattIdText(const tev::mojom::BluetoothGattIDPtr& id);
std::string ServiceIdText(const tev::mojom::BluetoothGattServiceIDPtr& id);
std::string PropertyText(const tev::mojom::BluetoothPropertyPtr& property);
std::string PropertiesText(const std::vector<tev::mojom::BluetoothPropertyPtr>& properties);

}  // namespace sim
}  // namespace tev
