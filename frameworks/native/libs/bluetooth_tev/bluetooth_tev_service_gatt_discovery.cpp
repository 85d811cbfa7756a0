// Service discovery and the per-device copy of the GATT database that turns the stack's
// attribute handles back into the host's service and attribute ids.
#include <cstring>
#include <memory>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

using GattDbEntry = BluetoothTevService::GattDbEntry;
// Links each element to the service and characteristic listed before it. The host's handles are
// taken as they are: it lists each service before its contents and each characteristic before
// its descriptors.
std::vector<GattDbEntry> buildEntries(
    const std::vector<tev::mojom::BluetoothGattDBElementPtr>& elements) {
  std::vector<GattDbEntry> entries;
  entries.reserve(elements.size());
  uint16_t serviceCursor = 0;
  uint16_t charCursor = 0;
  const tev::mojom::BluetoothGattDBElement zeroed{};
  for (const auto& record : elements) {
    // A null record reads as all zeros, as a null address does, so the count stays the host's.
    const tev::mojom::BluetoothGattDBElement& element = record.is_null() ? zeroed : *record;
    GattDbEntry entry{};
    entry.uuid = element.uuid;
    entry.type = static_cast<int32_t>(element.type);
    entry.handle = element.attribute_handle;
    entry.startHandle = element.start_handle;
    entry.endHandle = element.end_handle;
    entry.properties = element.properties;
    switch (entry.type) {
      case BTGATT_DB_PRIMARY_SERVICE:
      case BTGATT_DB_SECONDARY_SERVICE:
        entry.isPrimary = entry.type == BTGATT_DB_PRIMARY_SERVICE;
        serviceCursor = entry.handle;
        charCursor = 0;
        entry.serviceHandle = entry.handle;
        break;
      case BTGATT_DB_INCLUDED_SERVICE:
        entry.serviceHandle = serviceCursor;
        break;
      case BTGATT_DB_CHARACTERISTIC:
        entry.serviceHandle = serviceCursor;
        entry.charHandle = entry.handle;
        charCursor = entry.handle;
        break;
      case BTGATT_DB_DESCRIPTOR:
        entry.serviceHandle = serviceCursor;
        entry.charHandle = charCursor;
        break;
      default:
        // A type this side does not know is kept, linked to nothing.
        break;
    }
    entries.push_back(entry);
  }
  return entries;
}

// The element's type is passed on unchanged, but the HAL's field is an enumeration without a
// fixed type, which holds 0 to 7 only: assigning a host value beyond through the enumeration
// would be undefined. Its bytes are written instead, so every element keeps its place and its
// value whatever the host sent.
void setType(btgatt_db_element_t* element, int32_t type) {
  static_assert(sizeof(element->type) == sizeof(type), "the HAL's type field is 32 bits");
  std::memcpy(&element->type, &type, sizeof(type));
}

std::shared_ptr<std::vector<btgatt_db_element_t>> toHalElements(
    const std::vector<GattDbEntry>& entries) {
  auto elements = std::make_shared<std::vector<btgatt_db_element_t>>();
  elements->reserve(entries.size());
  for (const GattDbEntry& entry : entries) {
    btgatt_db_element_t element{};
    element.id = entry.handle;
    element.uuid = entry.uuid;
    setType(&element, entry.type);
    element.attribute_handle = entry.handle;
    element.start_handle = entry.startHandle;
    element.end_handle = entry.endHandle;
    element.properties = entry.properties;
    elements->push_back(element);
  }
  return elements;
}

}  // namespace

// Stack thread. The filter is not forwarded: the host always searches every service.
int BluetoothTevService::gattSearchService(int conn_id, const bluetooth::Uuid* /*filter_uuid*/) {
  RawAddress address;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto known = mConnIdToAddress.find(conn_id);
    if (known == mConnIdToAddress.end()) return BT_STATUS_FAIL;
    address = known->second;
  }
  LOG(INFO) << "BluetoothTev: gattSearchService conn_id=" << conn_id;
  postAddressCall(address, &tev::mojom::BluetoothHost::SearchService);
  return BT_STATUS_SUCCESS;
}

// Stack thread.
int BluetoothTevService::gattGetGattDb(int conn_id) {
  RawAddress address;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto known = mConnIdToAddress.find(conn_id);
    if (known == mConnIdToAddress.end()) return BT_STATUS_FAIL;
    address = known->second;
  }
  LOG(INFO) << "BluetoothTev: gattGetGattDb conn_id=" << conn_id;
  postAddressCall(address, &tev::mojom::BluetoothHost::GetGattDB);
  return BT_STATUS_SUCCESS;
}

// IPC thread. Every completed search is followed by a database fetch, asked for or not.
void BluetoothTevService::OnSearchComplete(tev::mojom::BluetoothAddressPtr addr,
                                           tev::mojom::BluetoothGattStatus status) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  LOG(INFO) << "BluetoothTev: OnSearchComplete addr=" << address.ToString()
            << " status=" << static_cast<int>(status);
  int connId;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto known = mAddressToConnId.find(address);
    if (known == mAddressToConnId.end()) return;
    connId = known->second;
  }
  const btgatt_client_callbacks_t* client = gattClientCallbacks();
  if (client && client->search_complete_cb) {
    postCallback([](const btgatt_client_callbacks_t* client, int connId,
                    int status) { client->search_complete_cb(connId, status); },
                 client, connId, static_cast<int>(status));
  }
  postAddressCall(address, &tev::mojom::BluetoothHost::GetGattDB);
}

// IPC thread. The new list replaces the device's whole list.
void BluetoothTevService::OnGetGattDB(tev::mojom::BluetoothAddressPtr addr,
                                      std::vector<tev::mojom::BluetoothGattDBElementPtr> db) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  LOG(INFO) << "BluetoothTev: OnGetGattDB addr=" << address.ToString() << " elements=" << db.size();
  int connId;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto known = mAddressToConnId.find(address);
    if (known == mAddressToConnId.end()) return;
    connId = known->second;
  }
  std::vector<GattDbEntry> entries = buildEntries(db);
  // The stack gets its own copy, so later cache changes cannot reach the array it reads.
  std::shared_ptr<std::vector<btgatt_db_element_t>> elements = toHalElements(entries);
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    mGattDbCache[address] = std::move(entries);
  }
  const btgatt_client_callbacks_t* client = gattClientCallbacks();
  if (client && client->get_gatt_db_cb) {
    postCallback(
        [](const btgatt_client_callbacks_t* client, int connId,
           std::shared_ptr<std::vector<btgatt_db_element_t>> elements) {
          client->get_gatt_db_cb(connId, elements->data(), static_cast<int>(elements->size()));
        },
        client, connId, std::move(elements));
  }
}

// Takes no lock: the caller holds mGattMutex across the lookup and its copy of the entry, so the
// list cannot be replaced under it. The first entry with the handle wins, whatever its type.
const BluetoothTevService::GattDbEntry* BluetoothTevService::lookupGattEntry(
    const RawAddress& address, uint16_t handle) const {
  auto device = mGattDbCache.find(address);
  if (device == mGattDbCache.end()) return nullptr;
  for (const GattDbEntry& entry : device->second) {
    if (entry.handle == handle) return &entry;
  }
  return nullptr;
}

// The instance id keeps only the handle's low 8 bits; the handle field carries all 16.
tev::mojom::BluetoothGattIDPtr BluetoothTevService::buildGattId(const GattDbEntry& entry) {
  return tev::mojom::BluetoothGattID::New(entry.uuid, static_cast<uint8_t>(entry.handle & 0xff),
                                          entry.handle);
}

// Given the service's own entry; a characteristic's entry would give that characteristic's id.
tev::mojom::BluetoothGattServiceIDPtr BluetoothTevService::buildServiceId(
    const GattDbEntry& entry) {
  return tev::mojom::BluetoothGattServiceID::New(buildGattId(entry), entry.isPrimary);
}

}  // namespace tev
