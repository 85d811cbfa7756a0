#pragma once

#include <vector>

#include "choices.h"
#include "mojom/bluetooth.mojom.h"
#include "raw_address.h"

namespace tev {
namespace stress {

// How far generated host records may stray. Well-formed ones pass the pipe's validation (nulls
// only where the interface allows them, six-byte addresses); the others carry null records,
// wrong-length address arrays and null nested records, which only a direct call delivers.
enum class Shape { kWellFormed, kAnything };

// A handful of devices, so that generated events and calls keep meeting the same connections.
RawAddress PickAddress(Choices& choices);

tev::mojom::BluetoothAddressPtr MakeAddress(Choices& choices, Shape shape);
std::vector<tev::mojom::BluetoothPropertyPtr> MakeProperties(Choices& choices, Shape shape);
std::vector<tev::mojom::BluetoothGattDBElementPtr> MakeDatabase(Choices& choices, Shape shape);
tev::mojom::BluetoothGattIDPtr MakeGattId(Choices& choices, Shape shape);
tev::mojom::BluetoothGattServiceIDPtr MakeServiceId(Choices& choices, Shape shape);
std::vector<tev::mojom::BluetoothSdpRecordPtr> MakeSdpRecords(Choices& choices, Shape shape);
bluetooth::Uuid MakeUuid(Choices& choices);
// Mostly short, now and then far past anything a callback can carry.
std::vector<uint8_t> MakeValue(Choices& choices);
// A handle the library may know from a database it was given, or any 16 bits.
uint16_t MakeHandle(Choices& choices);

}  // namespace stress
}  // namespace tev
