// Loads the built library exactly as the stack does, knowing it only through the HAL headers.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <hardware/bluetooth.h>
#include <hardware/bt_gatt.h>
#include <unistd.h>

#include <string>

namespace {

class LibraryLoadTest : public ::testing::Test {
 protected:
  void SetUp() override {
    handle_ = dlopen(TEV_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
    bt_ = static_cast<const bt_interface_t*>(dlsym(handle_, BLUETOOTH_INTERFACE_STRING));
    ASSERT_NE(bt_, nullptr) << dlerror();
  }

  void* handle_ = nullptr;
  const bt_interface_t* bt_ = nullptr;
};

TEST_F(LibraryLoadTest, TheTableHasThisReleasesShape) {
  ASSERT_EQ(bt_->size, sizeof(bt_interface_t));
  ASSERT_EQ(bt_->size, 328u);
  const auto* slots = reinterpret_cast<void* const*>(reinterpret_cast<const char*>(bt_) + 8);
  for (int slot = 0; slot < 35; ++slot) EXPECT_NE(slots[slot], nullptr) << "slot " << slot + 1;
  for (int slot = 35; slot < 40; ++slot) EXPECT_EQ(slots[slot], nullptr) << "slot " << slot + 1;
}

TEST_F(LibraryLoadTest, FixedAnswersThroughTheLoadedTable) {
  RawAddress address({0x01, 0x02, 0x03, 0x0a, 0x0b, 0x0c});
  EXPECT_EQ(bt_->get_remote_services(&address, 0), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt_->dut_mode_configure(0), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt_->read_energy_info(), BT_STATUS_UNSUPPORTED);
  EXPECT_EQ(bt_->set_os_callouts(nullptr), BT_STATUS_SUCCESS);
  EXPECT_EQ(bt_->get_connection_state(&address), 0);
  EXPECT_EQ(bt_->get_connection_state(nullptr), 0);
  EXPECT_EQ(bt_->obfuscate_address(address), "01:02:03:0a:0b:0c");

  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  bt_->dump(fds[1], nullptr);
  close(fds[1]);
  char text[64] = {};
  ASSERT_GT(read(fds[0], text, sizeof(text) - 1), 0);
  close(fds[0]);
  EXPECT_STREQ(text, "BluetoothTev: Mojo bridge to Quarne OS\n");

  const auto* gatt = static_cast<const btgatt_interface_t*>(bt_->get_profile_interface("gatt"));
  ASSERT_NE(gatt, nullptr);
  EXPECT_EQ(gatt->size, 56u);
  EXPECT_EQ(gatt->client->get_device_type(address), BT_DEVICE_DEVTYPE_BLE);
  EXPECT_EQ(bt_->get_profile_interface("GATT"), nullptr);
  EXPECT_EQ(bt_->get_profile_interface(BT_PROFILE_SOCKETS_ID), nullptr);
}

TEST_F(LibraryLoadTest, OnlyTheTableIsVisible) {
  // The library's own address and UUID code must not interpose the stack's.
  EXPECT_EQ(dlsym(handle_, "_ZNK10RawAddress8ToStringB5cxx11Ev"), nullptr);
  EXPECT_EQ(dlsym(handle_, "_ZN3tev19BluetoothTevService11GetInstanceEv"), nullptr);
  EXPECT_EQ(dlsym(handle_, "_ZNK9bluetooth4Uuid8ToStringB5cxx11Ev"), nullptr);
}

}  // namespace
