// The service object, its threads and task posting, and the bridge bootstrap and host connection.
#include "bluetooth_tev_service.h"

#include <cstring>

#include "base/bind.h"
#include "base/location.h"
#include "base/logging.h"
#include "bt_gatt_tev.h"

namespace tev {
namespace {
// The bridge version this side speaks.
constexpr unsigned int kBridgeVersion = 20;
}  // namespace

BluetoothTevService::BluetoothTevService() : mBinding(this) {}

BluetoothTevService::~BluetoothTevService() = default;

BluetoothTevService* BluetoothTevService::GetInstance() {
  static android::sp<BluetoothTevService> instance(new BluetoothTevService());
  return instance.get();
}

bool BluetoothTevService::onIpcThread() const {
  MojoProcessSupport* support = mMojoProcessSupport.load();
  MojoThread* thread = support ? support->getThread() : nullptr;
  return thread && thread->getTaskRunner()->BelongsToCurrentThread();
}

void BluetoothTevService::postToMojo(base::OnceCallback<void()> task) {
  MojoProcessSupport* support = mMojoProcessSupport.load();
  MojoThread* thread = support ? support->getThread() : nullptr;
  if (!thread) {
    if (LOG_IS_ON(ERROR)) LOG(ERROR) << "BluetoothTev: Mojo not available";
    return;
  }
  scoped_refptr<base::TaskRunner> taskRunner = thread->getTaskRunner();
  taskRunner->PostTask(FROM_HERE, std::move(task));
}

void BluetoothTevService::postToCallback(base::OnceCallback<void()> task) {
  scoped_refptr<base::SingleThreadTaskRunner> taskRunner;
  {
    std::lock_guard<std::mutex> lock(mCallbackRunnerMutex);
    taskRunner = mCallbackTaskRunner;
  }
  if (taskRunner) {
    taskRunner->PostTask(FROM_HERE, std::move(task));
  } else {
    std::move(task).Run();
  }
}

void BluetoothTevService::postAddressCall(const RawAddress& addr, AddressMethod method) {
  postToMojo(base::BindOnce(
      [](android::sp<BluetoothTevService> service, AddressMethod method,
         tev::mojom::BluetoothAddressPtr address) {
        DCHECK(service->onIpcThread());
        if (!service->mHost.is_bound()) return;
        (service->mHost.get()->*method)(std::move(address));
      },
      android::sp<BluetoothTevService>(this), method, toMojoAddress(addr)));
}

// Stack thread.
int BluetoothTevService::initialize(bt_callbacks_t* callbacks) {
  LOG(INFO) << "BluetoothTev: initialize";
  mCallbacks = callbacks;
  // Replacing an earlier callback thread stops and joins it.
  mCallbackThread = std::make_unique<base::Thread>("bt_tev_callback");
  mCallbackThread->StartWithOptions(base::Thread::Options());
  {
    std::lock_guard<std::mutex> lock(mCallbackRunnerMutex);
    mCallbackTaskRunner = mCallbackThread->task_runner();
  }
  postToCallback(base::BindOnce(
      [](bt_callbacks_t* callbacks) {
        if (callbacks && callbacks->thread_evt_cb) callbacks->thread_evt_cb(ASSOCIATE_JVM);
      },
      callbacks));

  mMojoProcessSupport = MojoProcessSupport::GetInstance();
  mBridgeSupport = new TevBridgeSupport(mMojoProcessSupport.load());
  mBridgeSupport->requestTevBridgeProxyAsync(android::wp<TevService>(this), kBridgeVersion);
  LOG(INFO) << "BluetoothTev: Mojo bootstrap initiated, version=" << kBridgeVersion;
  return BT_STATUS_SUCCESS;
}

// Stack thread.
void BluetoothTevService::cleanup() {
  LOG(INFO) << "BluetoothTev: cleanup";
  scoped_refptr<base::SingleThreadTaskRunner> callbackTaskRunner;
  {
    std::lock_guard<std::mutex> lock(mCallbackRunnerMutex);
    callbackTaskRunner = mCallbackTaskRunner;
  }
  bt_callbacks_t* callbacks = mCallbacks;
  if (callbackTaskRunner && callbacks && callbacks->thread_evt_cb) {
    callbackTaskRunner->PostTask(FROM_HERE, base::BindOnce(
                                                [](bt_callbacks_t* callbacks) {
                                                  if (callbacks && callbacks->thread_evt_cb) {
                                                    callbacks->thread_evt_cb(DISASSOCIATE_JVM);
                                                  }
                                                },
                                                callbacks));
  }
  postToMojo(base::BindOnce(
      [](BluetoothTevService* service) {
        if (service->mBinding.is_bound()) service->mBinding.Close();
        service->mHost.reset();
      },
      base::Unretained(this)));
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mHostReady = false;
  }
  if (mCallbackThread) {
    // Runs the callbacks still queued, the disassociation last, before joining.
    mCallbackThread->Stop();
    mCallbackThread.reset();
  }
  {
    std::lock_guard<std::mutex> lock(mCallbackRunnerMutex);
    mCallbackTaskRunner = nullptr;
  }
  mCallbacks = nullptr;
}

// IPC thread.
void BluetoothTevService::ready(mojo::InterfacePtr<tev::mojom::TevBridgeHost>* bridgeHost) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: TEV bridge ready";
  mojo::InterfacePtr<tev::mojom::BluetoothInstance> instance;
  mBinding.Bind(mojo::MakeRequest(&instance));
  mBinding.set_connection_error_handler(
      base::BindOnce(&BluetoothTevService::onBindingLost, base::Unretained(this)));
  if (bridgeHost && bridgeHost->is_bound()) {
    (*bridgeHost)->OnBluetoothInstanceReady(std::move(instance));
  }
  LOG(INFO) << "BluetoothTev: registered BluetoothInstance with Quarne OS";
}

// IPC thread.
void BluetoothTevService::versionMismatch(unsigned int hostVersion) {
  LOG(ERROR) << "BluetoothTev: version mismatch - Quarne supports v" << hostVersion << ", we need v"
             << kBridgeVersion;
}

// IPC thread.
void BluetoothTevService::Init(mojo::InterfacePtr<tev::mojom::BluetoothHost> host,
                               const base::RepeatingCallback<void()>& callback) {
  DCHECK(onIpcThread());
  LOG(INFO) << "BluetoothTev: Init - BluetoothHost connected";
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mHost.reset();
    mHost = std::move(host);
    mHost.set_connection_error_handler(
        base::BindOnce(&BluetoothTevService::onHostLost, base::Unretained(this)));
    mHostReady = true;
  }
  mHostCv.notify_all();
  if (callback) callback.Run();
}

// IPC thread.
void BluetoothTevService::onBindingLost() {
  LOG(WARNING) << "BluetoothTev: Mojo binding lost";
  std::lock_guard<std::mutex> lock(mMutex);
  mHost.reset();
  mHostReady = false;
}

// IPC thread.
void BluetoothTevService::onHostLost() {
  LOG(WARNING) << "BluetoothTev: BluetoothHost connection lost";
  std::lock_guard<std::mutex> lock(mMutex);
  mHost.reset();
  mHostReady = false;
}

const void* BluetoothTevService::getProfileInterface(const char* name) {
  if (!name) return nullptr;
  LOG(INFO) << "BluetoothTev: getProfileInterface(" << name << ")";
  if (std::strcmp(name, BT_PROFILE_GATT_ID) == 0) return getGattInterface();
  LOG(INFO) << "BluetoothTev: profile " << name << " not supported";
  return nullptr;
}

}  // namespace tev
