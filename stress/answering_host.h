#pragma once

#include <gmock/gmock.h>

#include "mock_bluetooth_host.h"

namespace tev {
namespace stress {

// Makes the host double answer every call that takes a reply, at once, so that every reply path
// of the library runs: adapter on for enable, off for disable, a short value for reads, success
// for writes and subscriptions, and fresh handles for the publication steps.
void AnswerEveryCall(::testing::NiceMock<tev::testing::MockBluetoothHost>& mock);

}  // namespace stress
}  // namespace tev
