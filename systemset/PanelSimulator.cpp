#include "systemset/PanelSimulator.h"

#include "systemset/MeyerSingleton.h"
#include "systemset/SimulatedPanel.h"
#include "systemset/SystemSetPrivate.h"

#include <QByteArray>
#include <QString>

#include <cstdio>

namespace HMI {

SystemSet::Private &PanelSimulator::services()
{
    return *MeyerSingleton<SystemSet>::instance().d;
}

SimulatedPanel *PanelSimulator::simulator()
{
    SimulatedPanel *p = services().simulated;
    if (!p) {
        static bool reported = false;
        if (!reported)
            std::fprintf(stderr, "panel: the simulated panel's state is not in use with this backend\n");
        reported = true;
    }
    return p;
}

bool PanelSimulator::loadStateFile(const std::string &path)
{
    SimulatedPanel *p = simulator();
    if (!p)
        return false;
    const auto lock = p->lock();
    p->load(path);
    return !p->fileUnusable;
}

bool PanelSimulator::loadStateJson(const std::string &json)
{
    SimulatedPanel *p = simulator();
    if (!p)
        return false;
    const auto lock = p->lock();
    p->load(std::string());
    p->readDocument(QByteArray::fromStdString(json), QStringLiteral("(text)"));
    const bool ok = !p->fileUnusable;
    p->fileUnusable = false;
    return ok;
}

std::string PanelSimulator::stateFile()
{
    SimulatedPanel *p = services().simulated;
    if (!p)
        return std::string();
    const auto lock = p->lock();
    return p->stateFile;
}

std::vector<std::string> PanelSimulator::callLog()
{
    return services().log.lines();
}

void PanelSimulator::clearCallLog()
{
    services().log.clear();
}

void PanelSimulator::setCallObserver(std::function<void(const std::string &)> observer)
{
    services().log.setObserver(std::move(observer));
}

void PanelSimulator::setLogFile(const std::string &path)
{
    services().log.setFile(path);
}

bool PanelSimulator::waitForIdle(int timeoutMs)
{
    return services().backend->waitForIdle(timeoutMs);
}

int PanelSimulator::pendingCallbacks()
{
    return services().backend->pendingCallbacks();
}

bool PanelSimulator::isCallbackThread()
{
    return services().backend->isCallbackThread();
}

} // namespace HMI
