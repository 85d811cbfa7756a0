#pragma once

#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/callback.h"
#include "base/single_thread_task_runner.h"
#include "base/threading/thread.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojo/public/cpp/bindings/interface_ptr.h"
#include "mojom/bluetooth.mojom.h"
#include "raw_address.h"
#include "tevbridge/MojoProcessSupport.h"
#include "tevbridge/TevBridgeSupport.h"
#include "tevbridge/TevService.h"

namespace tev {

// The one object behind every HAL entry point: it forwards the HAL to the host's Bluetooth
// service and turns the host's events back into HAL callbacks.
//
// Threads: HAL members run on the stack's threads and only check, resolve ids and post; every
// host call, host reply and BluetoothInstance method runs on the IPC thread; every call into
// the stack's callback tables runs on "bt_tev_callback" (or inline while that thread is not
// running).
class BluetoothTevService : public TevService, public tev::mojom::BluetoothInstance {
 public:
  using ReadPhyCallback = base::Callback<void(uint8_t tx_phy, uint8_t rx_phy, uint8_t status)>;
  using ReadReply =
      base::RepeatingCallback<void(tev::mojom::BluetoothGattStatus, const std::vector<uint8_t>&)>;
  using StatusReply = base::RepeatingCallback<void(tev::mojom::BluetoothGattStatus)>;

  // One element of a remote device's GATT database, linked to its service and characteristic.
  struct GattDbEntry {
    bluetooth::Uuid uuid;
    int32_t type;
    uint16_t handle;
    uint16_t startHandle;
    uint16_t endHandle;
    uint8_t properties;
    uint16_t serviceHandle;
    uint16_t charHandle;
    bool isPrimary;
  };

  static BluetoothTevService* GetInstance();

  ~BluetoothTevService() override;

  // Task posting (any thread).
  void postToMojo(base::OnceCallback<void()> task);
  void postToCallback(base::OnceCallback<void()> task);
  // Posts `functor(bound...)`, a call through a callback table that the caller read and tested
  // as it built the call. The table pointer travels in the bound state and is not looked up
  // again when the call runs, so an event built before a clean-up still reaches the table it
  // was built for: the stack lets go of a table only once its queued callbacks have arrived.
  template <typename Functor, typename... Bound>
  void postCallback(Functor&& functor, Bound&&... bound) {
    postToCallback(base::BindOnce(std::forward<Functor>(functor), std::forward<Bound>(bound)...));
  }
  // Posts `method(address record)` to the host; dropped silently while the host is not bound.
  using AddressMethod = void (tev::mojom::BluetoothHost::*)(tev::mojom::BluetoothAddressPtr);
  void postAddressCall(const RawAddress& addr, AddressMethod method);

  // Callback tables as installed now; null when none is.
  bt_callbacks_t* callbacks() const { return mCallbacks.load(); }
  const btgatt_client_callbacks_t* gattClientCallbacks() const {
    return mGattClientCallbacks.load();
  }
  const btgatt_server_callbacks_t* gattServerCallbacks() const {
    return mGattServerCallbacks.load();
  }
  const btgatt_scanner_callbacks_t* gattScannerCallbacks() const {
    return mGattScannerCallbacks.load();
  }
  // IPC thread only.
  mojo::InterfacePtr<tev::mojom::BluetoothHost>& host() { return mHost; }

  // Bridge bootstrap and host connection.
  int initialize(bt_callbacks_t* callbacks);
  void cleanup();
  void ready(mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost) override;
  void versionMismatch(unsigned int hostVersion) override;
  void Init(mojo::InterfacePtr<tev::mojom::BluetoothHost> host,
            const base::RepeatingCallback<void()>& callback) override;

  const void* getProfileInterface(const char* name);

  // Address and property conversion.
  static RawAddress toRawAddress(const mojo::StructPtr<tev::mojom::BluetoothAddress>& address);
  static mojo::StructPtr<tev::mojom::BluetoothAddress> toMojoAddress(const RawAddress& address);
  static void convertProperties(
      const std::vector<mojo::StructPtr<tev::mojom::BluetoothProperty>>& properties,
      std::vector<bt_property_t>* out, std::vector<std::vector<uint8_t>>* storage);

  // Adapter commands.
  int enable();
  int disable();
  int getAdapterProperties();
  int getAdapterProperty(bt_property_type_t type);
  int setAdapterProperty(const bt_property_t* property);
  int getRemoteDeviceProperties(RawAddress* addr);
  int getRemoteDeviceProperty(RawAddress* addr, bt_property_type_t type);
  int startDiscovery();
  int cancelDiscovery();
  int createBond(const RawAddress* addr, int transport);
  int removeBond(const RawAddress* addr);
  int cancelBond(const RawAddress* addr);
  int getConnectionState(const RawAddress* addr);
  int pinReply(const RawAddress* addr, uint8_t accept, uint8_t pin_len, bt_pin_code_t* pin_code);
  int sspReply(const RawAddress* addr, bt_ssp_variant_t variant, uint8_t accept, uint32_t passkey);

  // Adapter and device events (IPC thread).
  void OnAdapterProperties(tev::mojom::BluetoothStatus status,
                           std::vector<tev::mojom::BluetoothPropertyPtr> properties) override;
  void OnDeviceFound(std::vector<tev::mojom::BluetoothPropertyPtr> properties) override;
  void OnDevicePropertiesChanged(tev::mojom::BluetoothAddressPtr addr,
                                 std::vector<tev::mojom::BluetoothPropertyPtr> properties) override;
  void OnDiscoveryStateChanged(tev::mojom::BluetoothDiscoveryState state) override;
  void OnBondStateChanged(tev::mojom::BluetoothStatus status, tev::mojom::BluetoothAddressPtr addr,
                          tev::mojom::BluetoothBondState state) override;
  void OnConnectionStateChanged(tev::mojom::BluetoothAddressPtr addr,
                                tev::mojom::BluetoothDeviceType device_type,
                                bool connected) override;
  void OnGetSdpRecords(tev::mojom::BluetoothStatus status, tev::mojom::BluetoothAddressPtr addr,
                       bluetooth::Uuid uuid,
                       std::vector<tev::mojom::BluetoothSdpRecordPtr> records) override;

  // GATT client registration and LE connections.
  int initGatt(const btgatt_callbacks_t* callbacks);
  void cleanupGatt();
  int gattRegisterClient(const bluetooth::Uuid& app_uuid);
  int gattUnregisterClient(int client_if);
  int gattConnect(int client_if, const RawAddress& addr, bool is_direct, int transport,
                  bool opportunistic, int initiating_phys);
  int gattDisconnect(int client_if, const RawAddress& addr, int conn_id);
  int gattRefresh(int client_if, const RawAddress& addr);
  int getOrCreateConnId(const RawAddress& addr, int client_if);
  void OnLEConnectionStateChange(tev::mojom::BluetoothAddressPtr addr, bool connected) override;
  void OnLEDeviceAddressChange(tev::mojom::BluetoothAddressPtr old_addr,
                               tev::mojom::BluetoothAddressPtr new_addr) override;

  // GATT database cache and service discovery.
  int gattSearchService(int conn_id, const bluetooth::Uuid* filter_uuid);
  int gattGetGattDb(int conn_id);
  void OnSearchComplete(tev::mojom::BluetoothAddressPtr addr,
                        tev::mojom::BluetoothGattStatus status) override;
  void OnGetGattDB(tev::mojom::BluetoothAddressPtr addr,
                   std::vector<tev::mojom::BluetoothGattDBElementPtr> db) override;
  // The caller holds mGattMutex for as long as it uses the entry.
  const GattDbEntry* lookupGattEntry(const RawAddress& address, uint16_t handle) const;
  static tev::mojom::BluetoothGattServiceIDPtr buildServiceId(const GattDbEntry& entry);
  static tev::mojom::BluetoothGattIDPtr buildGattId(const GattDbEntry& entry);

  // Characteristic and descriptor operations.
  int gattReadCharacteristic(int conn_id, uint16_t handle, int auth_req);
  int gattWriteCharacteristic(int conn_id, uint16_t handle, int write_type, int auth_req,
                              std::vector<uint8_t> value);
  int gattReadDescriptor(int conn_id, uint16_t handle, int auth_req);
  int gattWriteDescriptor(int conn_id, uint16_t handle, int auth_req, std::vector<uint8_t> value);
  int gattExecuteWrite(int conn_id, int execute);
  int gattReadUsingCharUuid(int conn_id, const bluetooth::Uuid& uuid, uint16_t s_handle,
                            uint16_t e_handle, int auth_req);

  // Notifications, RSSI, MTU, service change, and the calls answered locally.
  int gattRegisterForNotification(int client_if, const RawAddress& addr, uint16_t handle);
  int gattDeregisterForNotification(int client_if, const RawAddress& addr, uint16_t handle);
  int gattReadRemoteRssi(int client_if, const RawAddress& addr);
  int gattGetDeviceType(const RawAddress& addr);
  int gattConfigureMtu(int conn_id, int mtu);
  int gattConnParameterUpdate(const RawAddress& addr, int min_interval, int max_interval,
                              int latency, int timeout, uint16_t min_ce_len, uint16_t max_ce_len);
  int gattSetPreferredPhy(const RawAddress& addr, uint8_t tx_phy, uint8_t rx_phy,
                          uint16_t phy_options);
  int gattReadPhy(const RawAddress& addr, ReadPhyCallback cb);
  int gattTestCommand(int command, const btgatt_test_params_t& params);
  int gattDiscoverServiceByUuid(int conn_id, const bluetooth::Uuid& uuid);
  void OnGattNotify(tev::mojom::BluetoothAddressPtr addr,
                    tev::mojom::BluetoothGattServiceIDPtr service_id,
                    tev::mojom::BluetoothGattIDPtr char_id, bool is_notify,
                    const std::vector<uint8_t>& value) override;
  void OnServiceChanged(tev::mojom::BluetoothAddressPtr addr) override;
  void OnMTUReceived(tev::mojom::BluetoothAddressPtr addr, uint16_t mtu) override;

  // LE scanning.
  void startLEScan(bool start);
  void OnLEDeviceFound(tev::mojom::BluetoothAddressPtr addr, int32_t rssi,
                       const std::vector<uint8_t>& eir) override;

  // GATT server registration and connections.
  int gattRegisterServer(const bluetooth::Uuid& app_uuid);
  int gattUnregisterServer(int server_if);
  int gattServerConnect(int server_if, const RawAddress& addr, bool is_direct, int transport);
  int gattServerDisconnect(int server_if, const RawAddress& addr, int conn_id);

  // Service publication.
  int gattAddService(int server_if, std::vector<btgatt_db_element_t> service);
  int gattStopService(int server_if, int service_handle);
  int gattDeleteService(int server_if, int service_handle);

  // Remote requests and responses.
  void RequestGattRead(tev::mojom::BluetoothAddressPtr addr, int32_t attribute_handle,
                       int32_t offset, bool is_long,
                       tev::mojom::BluetoothGattDBAttributeType attribute_type,
                       const RequestGattReadCallback& callback) override;
  void RequestGattWrite(tev::mojom::BluetoothAddressPtr addr, int32_t attribute_handle,
                        int32_t offset, const std::vector<uint8_t>& value,
                        tev::mojom::BluetoothGattDBAttributeType attribute_type, bool is_prepare,
                        const RequestGattWriteCallback& callback) override;
  void RequestGattExecuteWrite(tev::mojom::BluetoothAddressPtr addr, bool execute,
                               const RequestGattExecuteWriteCallback& callback) override;
  int gattSendResponse(int conn_id, int trans_id, int status, const btgatt_response_t& response);
  int gattSendIndication(int server_if, int attribute_handle, int conn_id, int confirm,
                         std::vector<uint8_t> value);
  int gattServerSetPreferredPhy(const RawAddress& addr, uint8_t tx_phy, uint8_t rx_phy,
                                uint16_t phy_options);
  int gattServerReadPhy(const RawAddress& addr, ReadPhyCallback cb);

 private:
  // Each subsystem keeps its file-local helpers in one of these.
  friend struct AdapterBridge;
  friend struct GattClientBridge;
  friend struct GattAttributeBridge;
  friend struct GattServerBridge;

  BluetoothTevService();

  // IPC thread.
  void onBindingLost();
  void onHostLost();
  bool onIpcThread() const;

  // Set by initialize; read by postToMojo on any thread.
  std::atomic<MojoProcessSupport*> mMojoProcessSupport{nullptr};
  TevBridgeSupport* mBridgeSupport = nullptr;
  mojo::InterfacePtr<tev::mojom::BluetoothHost> mHost;
  mojo::Binding<tev::mojom::BluetoothInstance> mBinding;
  std::mutex mMutex;
  std::condition_variable mHostCv;
  bool mHostReady = false;
  // Written on the stack's thread, read on the IPC thread: atomic so no read ever tears.
  std::atomic<bt_callbacks_t*> mCallbacks{nullptr};
  // Guards only mCallbackTaskRunner, which postToCallback reads from any thread.
  mutable std::mutex mCallbackRunnerMutex;
  scoped_refptr<base::SingleThreadTaskRunner> mCallbackTaskRunner;
  std::unique_ptr<base::Thread> mCallbackThread;
  std::atomic<const btgatt_client_callbacks_t*> mGattClientCallbacks{nullptr};
  std::atomic<const btgatt_server_callbacks_t*> mGattServerCallbacks{nullptr};
  std::atomic<const btgatt_scanner_callbacks_t*> mGattScannerCallbacks{nullptr};

  // Everything below is guarded by mGattMutex.
  mutable std::mutex mGattMutex;
  int32_t mNextClientIf = 1;
  int32_t mNextServerIf = 1;
  std::map<int, bluetooth::Uuid> mClientUuids;
  std::map<int, bluetooth::Uuid> mServerUuids;
  int32_t mNextConnId = 1;
  std::map<int, RawAddress> mConnIdToAddress;
  std::map<RawAddress, int> mAddressToConnId;
  std::map<int, int> mConnIdToClientIf;
  std::map<RawAddress, std::vector<GattDbEntry>> mGattDbCache;
  int32_t mNextTransId = 1;
  std::map<int, ReadReply> mPendingReads;
  std::map<int, StatusReply> mPendingWrites;
  std::map<int, StatusReply> mPendingExecuteWrites;
};

}  // namespace tev
