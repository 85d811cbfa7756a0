// Remote clients' requests to the stack's GATT servers. The host waits on a reply for each
// request while the stack answers later, by transaction id; the replies are parked here under
// that id until then. Also indications, and the PHY calls of the server table.
#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/logging.h"
#include "bluetooth_tev_service.h"

namespace tev {
namespace {

using tev::mojom::BluetoothGattDBAttributeType;
using tev::mojom::BluetoothGattStatus;

// What the host hears for a request from a device that has no connection id (0x101).
constexpr BluetoothGattStatus kUnknownDevice = BluetoothGattStatus::FAILURE;

// The PHY reported for every link: LE 1M both ways.
constexpr uint8_t kPhy1M = 1;

using ReadSlot = request_read_callback btgatt_server_callbacks_t::*;
using WriteSlot = request_write_callback btgatt_server_callbacks_t::*;

std::optional<int> connIdOf(std::mutex& gattMutex, const std::map<RawAddress, int>& addressToConnId,
                            const RawAddress& address) {
  std::lock_guard<std::mutex> lock(gattMutex);
  auto found = addressToConnId.find(address);
  if (found == addressToConnId.end()) return std::nullopt;
  return found->second;
}

// Takes the next transaction id and parks the host's reply under it until the stack answers.
template <typename Reply>
int parkReply(std::mutex& gattMutex, int32_t& nextTransId, std::map<int, Reply>& pending,
              const Reply& reply) {
  std::lock_guard<std::mutex> lock(gattMutex);
  const int transId = nextTransId++;
  pending[transId] = reply;
  return transId;
}

// Moves the reply parked under `transId` out of `pending`; the caller holds the GATT mutex.
template <typename Reply>
bool takeReply(std::map<int, Reply>& pending, int transId, Reply* reply) {
  auto found = pending.find(transId);
  if (found == pending.end()) return false;
  *reply = std::move(found->second);
  pending.erase(found);
  return true;
}

}  // namespace

// IPC thread.
void BluetoothTevService::RequestGattRead(tev::mojom::BluetoothAddressPtr addr,
                                          int32_t attribute_handle, int32_t offset, bool is_long,
                                          BluetoothGattDBAttributeType attribute_type,
                                          const RequestGattReadCallback& callback) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  const std::optional<int> connId = connIdOf(mGattMutex, mAddressToConnId, address);
  if (!connId) {
    // Answered after the lookup has released mGattMutex, like every reply to the host.
    callback.Run(kUnknownDevice, std::vector<uint8_t>());
    return;
  }
  const int transId = parkReply(mGattMutex, mNextTransId, mPendingReads, callback);
  // Without a table or slot nobody can answer: the reply stays parked until cleanupGatt.
  const btgatt_server_callbacks_t* callbacks = gattServerCallbacks();
  if (!callbacks) return;
  const ReadSlot slot = attribute_type == BluetoothGattDBAttributeType::CHARACTERISTIC
                            ? &btgatt_server_callbacks_t::request_read_characteristic_cb
                            : &btgatt_server_callbacks_t::request_read_descriptor_cb;
  if (!(callbacks->*slot)) return;
  postCallback(callbacks->*slot, *connId, transId, address, attribute_handle, offset, is_long);
}

// IPC thread.
void BluetoothTevService::RequestGattWrite(tev::mojom::BluetoothAddressPtr addr,
                                           int32_t attribute_handle, int32_t offset,
                                           const std::vector<uint8_t>& value,
                                           BluetoothGattDBAttributeType attribute_type,
                                           bool is_prepare,
                                           const RequestGattWriteCallback& callback) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  const std::optional<int> connId = connIdOf(mGattMutex, mAddressToConnId, address);
  if (!connId) {
    callback.Run(kUnknownDevice);
    return;
  }
  const int transId = parkReply(mGattMutex, mNextTransId, mPendingWrites, callback);
  const btgatt_server_callbacks_t* callbacks = gattServerCallbacks();
  if (!callbacks) return;
  const WriteSlot slot = attribute_type == BluetoothGattDBAttributeType::CHARACTERISTIC
                             ? &btgatt_server_callbacks_t::request_write_characteristic_cb
                             : &btgatt_server_callbacks_t::request_write_descriptor_cb;
  if (!(callbacks->*slot)) return;
  // Every write waits for send_response, prepared or not: need_rsp is always true.
  postCallback(
      [](request_write_callback request, int connId, int transId, RawAddress address, int handle,
         int offset, bool isPrepare, std::vector<uint8_t> value) {
        request(connId, transId, address, handle, offset, true, isPrepare, value.data(),
                value.size());
      },
      callbacks->*slot, *connId, transId, address, attribute_handle, offset, is_prepare, value);
}

// IPC thread.
void BluetoothTevService::RequestGattExecuteWrite(tev::mojom::BluetoothAddressPtr addr,
                                                  bool execute,
                                                  const RequestGattExecuteWriteCallback& callback) {
  DCHECK(onIpcThread());
  const RawAddress address = toRawAddress(addr);
  const std::optional<int> connId = connIdOf(mGattMutex, mAddressToConnId, address);
  if (!connId) {
    callback.Run(kUnknownDevice);
    return;
  }
  const int transId = parkReply(mGattMutex, mNextTransId, mPendingExecuteWrites, callback);
  const btgatt_server_callbacks_t* callbacks = gattServerCallbacks();
  if (!callbacks || !callbacks->request_exec_write_cb) return;
  postCallback(callbacks->request_exec_write_cb, *connId, transId, address,
               static_cast<int>(execute));
}

// Stack thread. The host's reply runs here, on the caller's thread, once the parked entry has
// been taken out: an id is answered at most once even when two threads race to answer it, and
// mGattMutex is not held while the host is answered.
int BluetoothTevService::gattSendResponse(int /*conn_id*/, int trans_id, int status,
                                          const btgatt_response_t& response) {
  LOG(INFO) << "BluetoothTev: gattSendResponse trans_id=" << trans_id << " status=" << status;
  ReadReply readReply;
  StatusReply statusReply;
  bool found = false;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    found = takeReply(mPendingReads, trans_id, &readReply) ||
            takeReply(mPendingWrites, trans_id, &statusReply) ||
            takeReply(mPendingExecuteWrites, trans_id, &statusReply);
  }
  if (!found) {
    LOG(WARNING) << "BluetoothTev: gattSendResponse - unknown trans_id " << trans_id;
    return BT_STATUS_FAIL;
  }
  const auto hostStatus = static_cast<BluetoothGattStatus>(status);
  if (statusReply) {
    statusReply.Run(hostStatus);
    return BT_STATUS_SUCCESS;
  }
  std::vector<uint8_t> value;
  if (status == 0) {
    // len is the stack's word; never read past the value array it describes.
    const btgatt_value_t& attr = response.attr_value;
    value.assign(attr.value, attr.value + std::min<size_t>(attr.len, sizeof(attr.value)));
  }
  readReply.Run(hostStatus, value);
  return BT_STATUS_SUCCESS;
}

// Stack thread. confirm asks for an indication, otherwise a notification; the host carries
// out the choice.
int BluetoothTevService::gattSendIndication(int /*server_if*/, int attribute_handle, int conn_id,
                                            int confirm, std::vector<uint8_t> value) {
  RawAddress address = RawAddress::kEmpty;
  {
    std::lock_guard<std::mutex> lock(mGattMutex);
    auto found = mConnIdToAddress.find(conn_id);
    if (found == mConnIdToAddress.end()) return BT_STATUS_FAIL;
    address = found->second;
  }
  postToMojo(base::BindOnce(
      [](android::sp<BluetoothTevService> service, int handle,
         tev::mojom::BluetoothAddressPtr address, bool confirm, std::vector<uint8_t> value,
         int connId) {
        DCHECK(service->onIpcThread());
        if (!service->mHost.is_bound()) return;
        service->mHost->SendIndication(
            handle, std::move(address), confirm, value,
            base::BindRepeating(
                [](android::sp<BluetoothTevService> service, int connId,
                   BluetoothGattStatus status) {
                  DCHECK(service->onIpcThread());
                  const btgatt_server_callbacks_t* callbacks = service->gattServerCallbacks();
                  if (!callbacks || !callbacks->indication_sent_cb) return;
                  service->postCallback(callbacks->indication_sent_cb, connId,
                                        static_cast<int>(status));
                },
                service, connId));
      },
      android::sp<BluetoothTevService>(this), attribute_handle, toMojoAddress(address),
      confirm != 0, std::move(value), conn_id));
  return BT_STATUS_SUCCESS;
}

// Any thread. PHY control is not bridged.
int BluetoothTevService::gattServerSetPreferredPhy(const RawAddress& /*addr*/, uint8_t /*tx_phy*/,
                                                   uint8_t /*rx_phy*/, uint16_t /*phy_options*/) {
  return BT_STATUS_SUCCESS;
}

// Any thread. Answered at once, on the caller's thread.
int BluetoothTevService::gattServerReadPhy(const RawAddress& /*addr*/, ReadPhyCallback cb) {
  // A null callback has nobody to answer.
  if (cb) cb.Run(kPhy1M, kPhy1M, 0);
  return BT_STATUS_SUCCESS;
}

}  // namespace tev
