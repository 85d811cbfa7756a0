#pragma once

#include <set>
#include <string>
#include <vector>

#include <base/callback_forward.h>

#include "avrcp_common.h"
#include "raw_address.h"

namespace bluetooth {
namespace avrcp {

struct SongInfo;
struct PlayStatus;
struct MediaPlayerInfo;
struct FolderInfo;
struct ListItem;

class MediaCallbacks;
class MediaInterface;
class VolumeInterface;

// The AVRCP target service, handed out by the adapter interface. The stack
// owns it, so callers may not delete it.
class ServiceInterface {
 public:
  virtual void Init(MediaInterface* media_interface, VolumeInterface* volume_interface) = 0;
  virtual void RegisterBipServer(int psm) = 0;
  virtual void UnregisterBipServer() = 0;
  virtual bool ConnectDevice(const RawAddress& bdaddr) = 0;
  virtual bool DisconnectDevice(const RawAddress& bdaddr) = 0;
  virtual void SetBipClientStatus(const RawAddress& bdaddr, bool connected) = 0;
  virtual bool Cleanup() = 0;

 protected:
  virtual ~ServiceInterface() = default;
};

}  // namespace avrcp
}  // namespace bluetooth
