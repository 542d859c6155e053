#include "systemset/PanelSimulator.h"

#include "systemset/SystemSetPrivate.h"

#include "systemset/MeyerSingleton.h"

#include <QByteArray>
#include <QString>

namespace HMI {

SystemSet::Private &PanelSimulator::simulator()
{
    return *MeyerSingleton<SystemSet>::instance().d;
}

bool PanelSimulator::loadStateFile(const std::string &path)
{
    auto &p = simulator();
    const auto lock = p.lock();
    p.load(path);
    return !p.fileUnusable;
}

bool PanelSimulator::loadStateJson(const std::string &json)
{
    auto &p = simulator();
    const auto lock = p.lock();
    p.load(std::string());
    p.readDocument(QByteArray::fromStdString(json), QStringLiteral("(text)"));
    const bool ok = !p.fileUnusable;
    p.fileUnusable = false;
    return ok;
}

std::string PanelSimulator::stateFile()
{
    auto &p = simulator();
    const auto lock = p.lock();
    return p.stateFile;
}

std::vector<std::string> PanelSimulator::callLog()
{
    auto &p = simulator();
    const auto lock = p.lock();
    return p.log;
}

void PanelSimulator::clearCallLog()
{
    auto &p = simulator();
    const auto lock = p.lock();
    p.log.clear();
}

void PanelSimulator::setCallObserver(std::function<void(const std::string &)> observer)
{
    auto &p = simulator();
    const auto lock = p.lock();
    p.observer = std::move(observer);
}

void PanelSimulator::setLogFile(const std::string &path)
{
    auto &p = simulator();
    const auto lock = p.lock();
    p.logFile = path;
}

bool PanelSimulator::waitForIdle(int timeoutMs)
{
    return simulator().worker.waitForIdle(timeoutMs);
}

int PanelSimulator::pendingCallbacks()
{
    return simulator().worker.pending();
}

bool PanelSimulator::isCallbackThread()
{
    return simulator().worker.isWorkerThread();
}

} // namespace HMI
