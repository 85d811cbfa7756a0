#include "control_types.h"

namespace tev {
namespace bttev {

using Direction = sim::JournalEntry::Direction;

control::Pipe ToControl(sim::Pipe pipe) {
  switch (pipe) {
    case sim::Pipe::kBridge:
      return control::Pipe::BRIDGE;
    case sim::Pipe::kBluetoothHost:
      return control::Pipe::BLUETOOTH_HOST;
    case sim::Pipe::kBluetoothInstance:
      return control::Pipe::BLUETOOTH_INSTANCE;
  }
  return control::Pipe::BRIDGE;
}

// The decoder has refused any value the enumeration does not name.
sim::Pipe FromControl(control::Pipe pipe) {
  switch (pipe) {
    case control::Pipe::BRIDGE:
      return sim::Pipe::kBridge;
    case control::Pipe::BLUETOOTH_HOST:
      return sim::Pipe::kBluetoothHost;
    case control::Pipe::BLUETOOTH_INSTANCE:
      return sim::Pipe::kBluetoothInstance;
  }
  return sim::Pipe::kBridge;
}

control::FaultPtr ToControl(const sim::Fault& fault) {
  auto out = control::Fault::New();
  out->has_result = fault.result.has_value();
  out->result = fault.result.value_or(0);
  out->delay_us = fault.delay.InMicroseconds();
  out->never = fault.never;
  out->has_sever = fault.sever.has_value();
  out->sever = ToControl(fault.sever.value_or(sim::Pipe::kBridge));
  out->times = fault.times;
  return out;
}

sim::Fault FromControl(const control::Fault& fault) {
  sim::Fault out;
  if (fault.has_result) out.result = fault.result;
  out.delay = base::TimeDelta::FromMicroseconds(fault.delay_us);
  out.never = fault.never;
  if (fault.has_sever) out.sever = FromControl(fault.sever);
  out.times = fault.times;
  return out;
}

control::JournalEntryPtr ToControl(const sim::JournalEntry& entry) {
  control::Direction direction = control::Direction::NOTE;
  switch (entry.direction) {
    case Direction::kCallReceived:
      direction = control::Direction::CALL_RECEIVED;
      break;
    case Direction::kReplySent:
      direction = control::Direction::REPLY_SENT;
      break;
    case Direction::kEventSent:
      direction = control::Direction::EVENT_SENT;
      break;
    case Direction::kReplyReceived:
      direction = control::Direction::REPLY_RECEIVED;
      break;
    case Direction::kNote:
      break;
  }
  return control::JournalEntry::New(entry.time.InMicroseconds(), direction, entry.method, entry.summary);
}

sim::JournalEntry FromControl(const control::JournalEntry& entry) {
  Direction direction = Direction::kNote;
  switch (entry.direction) {
    case control::Direction::CALL_RECEIVED:
      direction = Direction::kCallReceived;
      break;
    case control::Direction::REPLY_SENT:
      direction = Direction::kReplySent;
      break;
    case control::Direction::EVENT_SENT:
      direction = Direction::kEventSent;
      break;
    case control::Direction::REPLY_RECEIVED:
      direction = Direction::kReplyReceived;
      break;
    case control::Direction::NOTE:
      break;
  }
  return sim::JournalEntry{base::TimeDelta::FromMicroseconds(entry.time_us), direction, entry.method, entry.summary};
}

}  // namespace bttev
}  // namespace tev
