#pragma once

// The host's faults, pipes and journal entries as the control interface carries them.
#include "bttevmojom/host_control.mojom.h"
#include "tev/sim/faults.h"
#include "tev/sim/journal.h"

namespace tev {
namespace bttev {

control::Pipe ToControl(sim::Pipe pipe);
sim::Pipe FromControl(control::Pipe pipe);
control::FaultPtr ToControl(const sim::Fault& fault);
sim::Fault FromControl(const control::Fault& fault);
control::JournalEntryPtr ToControl(const sim::JournalEntry& entry);
sim::JournalEntry FromControl(const control::JournalEntry& entry);

}  // namespace bttev
}  // namespace tev
