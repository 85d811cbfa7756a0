#pragma once

#include <optional>
#include <string>

#include "adapter_sim.h"
#include "gatt_client_sim.h"
#include "gatt_server_sim.h"
#include "host_context.h"
#include "le_sim.h"
#include "mojo/public/cpp/bindings/binding.h"
#include "mojom/bluetooth.mojom.h"
#include "mojom/tev_bridge.mojom.h"
#include "remote_central_sim.h"
#include "tev/sim/faults.h"
#include "timer_set.h"

namespace tev {
namespace sim {

// The host service itself: the two interfaces it serves, its pipes, and the parts that play the
// world. Lives and dies on the host sequence.
class HostCore : public tev::mojom::TevBridgeHost, public tev::mojom::BluetoothHost {
 public:
  HostCore(const World& world, Clock* clock, Journal* journal, Faults* faults, uint64_t seed,
           bool auto_init);
  ~HostCore() override;

  void BindBridge(mojo::InterfaceRequest<tev::mojom::TevBridgeHost> request);
  void CallInit();
  void Sever(Pipe pipe);
  void SeverAfter(Pipe pipe, base::TimeDelta delay);
  void Restart();
  void SendEvent(const std::string& method, const std::string& summary,
                 base::OnceCallback<void(tev::mojom::BluetoothInstance*)> call);

  // TevBridgeHost.
  void OnBluetoothInstanceReady(tev::mojom::BluetoothInstancePtr instance) override;

  // BluetoothHost; the bodies are in host_calls.cc.
  void EnableAdapter(const EnableAdapterCallback& callback) override;
  void DisableAdapter(const DisableAdapterCallback& callback) override;
  void GetAdapterProperty(tev::mojom::BluetoothPropertyType type) override;
  void SetAdapterProperty(tev::mojom::BluetoothPropertyPtr property) override;
  void StartDiscovery() override;
  void CancelDiscovery() override;
  void CreateBond(tev::mojom::BluetoothAddressPtr addr, int32_t transport) override;
  void RemoveBond(tev::mojom::BluetoothAddressPtr addr) override;
  void CancelBond(tev::mojom::BluetoothAddressPtr addr) override;
  void ConnectLEDevice(tev::mojom::BluetoothAddressPtr addr) override;
  void DisconnectLEDevice(tev::mojom::BluetoothAddressPtr addr) override;
  void SearchService(tev::mojom::BluetoothAddressPtr addr) override;
  void GetGattDB(tev::mojom::BluetoothAddressPtr addr) override;
  void ReadGattCharacteristic(tev::mojom::BluetoothAddressPtr addr,
                              tev::mojom::BluetoothGattServiceIDPtr service_id,
                              tev::mojom::BluetoothGattIDPtr char_id,
                              const ReadGattCharacteristicCallback& callback) override;
  void WriteGattCharacteristic(tev::mojom::BluetoothAddressPtr addr,
                               tev::mojom::BluetoothGattServiceIDPtr service_id,
                               tev::mojom::BluetoothGattIDPtr char_id,
                               tev::mojom::BluetoothGattValuePtr value, bool prepare,
                               const WriteGattCharacteristicCallback& callback) override;
  void ReadGattDescriptor(tev::mojom::BluetoothAddressPtr addr,
                          tev::mojom::BluetoothGattServiceIDPtr service_id,
                          tev::mojom::BluetoothGattIDPtr char_id,
                          tev::mojom::BluetoothGattIDPtr desc_id,
                          const ReadGattDescriptorCallback& callback) override;
  void WriteGattDescriptor(tev::mojom::BluetoothAddressPtr addr,
                           tev::mojom::BluetoothGattServiceIDPtr service_id,
                           tev::mojom::BluetoothGattIDPtr char_id,
                           tev::mojom::BluetoothGattIDPtr desc_id,
                           tev::mojom::BluetoothGattValuePtr value,
                           const WriteGattDescriptorCallback& callback) override;
  void ExecuteWrite(tev::mojom::BluetoothAddressPtr addr, bool execute,
                    const ExecuteWriteCallback& callback) override;
  void RegisterForGattNotification(tev::mojom::BluetoothAddressPtr addr,
                                   tev::mojom::BluetoothGattServiceIDPtr service_id,
                                   tev::mojom::BluetoothGattIDPtr char_id,
                                   const RegisterForGattNotificationCallback& callback) override;
  void DeregisterForGattNotification(tev::mojom::BluetoothAddressPtr addr,
                                     tev::mojom::BluetoothGattServiceIDPtr service_id,
                                     tev::mojom::BluetoothGattIDPtr char_id,
                                     const DeregisterForGattNotificationCallback& callback) override;
  void ReadRemoteRssi(tev::mojom::BluetoothAddressPtr addr,
                      const ReadRemoteRssiCallback& callback) override;
  void StartLEScan() override;
  void StopLEScan() override;
  void AddService(tev::mojom::BluetoothGattServiceIDPtr service_id, int32_t num_handles,
                  const AddServiceCallback& callback) override;
  void AddCharacteristic(int32_t service_handle, bluetooth::Uuid uuid, int32_t properties,
                         int32_t permissions, const AddCharacteristicCallback& callback) override;
  void StartService(int32_t service_handle, const StartServiceCallback& callback) override;
  void AddDescriptor(int32_t service_handle, bluetooth::Uuid uuid, int32_t permissions,
                     const AddDescriptorCallback& callback) override;
  void StopService(int32_t service_handle, const StopServiceCallback& callback) override;
  void DeleteService(int32_t service_handle, const DeleteServiceCallback& callback) override;
  void SendIndication(int32_t attribute_handle, tev::mojom::BluetoothAddressPtr addr, bool confirm,
                      const std::vector<uint8_t>& value,
                      const SendIndicationCallback& callback) override;

 private:
  // Journals an arriving call and takes its fault. False when a fault closed a pipe and the
  // call goes no further.
  bool Receive(const char* method, const std::string& summary, std::optional<Fault>* fault);
  // Sends a reply now, later or never, as the fault says, journaling it when it is sent.
  void Reply(const char* method, const std::optional<Fault>& fault, const std::string& summary,
             base::OnceClosure send);
  // The handling of a call without a reply: now, later or never.
  void Handle(const char* method, const std::optional<Fault>& fault, base::OnceClosure work);
  void SendReply(const std::string& method, const std::string& summary, base::OnceClosure send);
  // Drops what a host loses with its clients: links, scans, discovery, published services.
  void ResetRuntime();
  void OnInstanceLost();
  void OnHostPipeLost();
  void OnInitReply();

  HostContext ctx_;
  Faults* faults_;
  const bool auto_init_;
  AdapterSim adapter_;
  LeSim le_;
  GattClientSim gatt_client_;
  GattServerSim gatt_server_;
  RemoteCentralSim centrals_;
  TimerSet fault_timers_;
  mojo::Binding<tev::mojom::TevBridgeHost> bridge_binding_{this};
  mojo::Binding<tev::mojom::BluetoothHost> host_binding_{this};
};

}  // namespace sim
}  // namespace tev
