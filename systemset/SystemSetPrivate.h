#pragma once

#include "systemset/Backend.h"
#include "systemset/CallLog.h"
#include "systemset/SystemSet.h"

#include <memory>

namespace HMI {

class SimulatedPanel;

/// The call log and the backend that serves the calls.
struct SystemSet::Private
{
    CallLog log;
    /// Declared after the log, so destroyed before it: a callback still running may log.
    std::unique_ptr<Backend> backend;
    /// The backend when it is the simulated panel, else null.
    SimulatedPanel *simulated = nullptr;
};

} // namespace HMI
