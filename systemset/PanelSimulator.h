#pragma once

#include "systemset/SystemSet.h"

#include <functional>
#include <string>
#include <vector>

namespace HMI {

class SimulatedPanel;

/// In-process control of the system services, for the project's own tests and tools: the call log and
/// the callbacks of whichever backend serves them, and the state of the simulated panel.
///
/// Every function acts on the one system-services object, MeyerSingleton<HMI::SystemSet>::instance().
class HMI_SYSTEMSET_EXPORT PanelSimulator
{
public:
    /// Drops the current state and loads the JSON state file at @p path, which then receives the persisted
    /// changes (an empty path: built-in defaults, nothing persisted). Returns false when the file exists
    /// but could not be used as a whole; the defaults are then in force, as at start-up.
    static bool loadStateFile(const std::string &path);
    /// Drops the current state and loads it from JSON text; no file receives persisted changes.
    static bool loadStateJson(const std::string &json);
    /// The state file in use, empty when none.
    static std::string stateFile();

    /// Every logged call since start or the last clearCallLog(), one line each, in call order.
    static std::vector<std::string> callLog();
    static void clearCallLog();
    /// Calls @p observer with every logged line, on the thread that made the call (empty: none).
    static void setCallObserver(std::function<void(const std::string &line)> observer);
    /// Also appends every logged call to @p path (empty: no file); QSP_PANEL_LOG sets it at start-up.
    static void setLogFile(const std::string &path);

    /// Waits until no callback is pending or running; false when @p timeoutMs passed first.
    static bool waitForIdle(int timeoutMs = 10000);
    /// Number of callbacks scheduled and not yet returned.
    static int pendingCallbacks();
    /// Whether the calling thread is the simulator's callback thread.
    static bool isCallbackThread();

private:
    static SystemSet::Private &services();
    /// The simulated panel, or null (reported once) when another backend serves the calls.
    static SimulatedPanel *simulator();
};

} // namespace HMI
