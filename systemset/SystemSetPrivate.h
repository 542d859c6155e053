#pragma once

#include "systemset/CallbackWorker.h"
#include "systemset/PanelState.h"
#include "systemset/SystemSet.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace HMI {

/// What the simulator last saw of its state file. Time stamps can be coarse (two writes within one tick
/// carry the same one), so the size and a hash of the content count as well.
struct FileSignature
{
    bool exists = false;
    std::int64_t modifiedNs = 0;
    qint64 size = -1;
    QByteArray hash;

    bool operator==(const FileSignature &o) const
    {
        return exists == o.exists && modifiedNs == o.modifiedNs && size == o.size && hash == o.hash;
    }
    bool operator!=(const FileSignature &o) const { return !(*this == o); }
};

/// The state file as it is on disk at one moment.
struct FileSnapshot
{
    FileSignature signature;
    bool readable = false; ///< it exists and its bytes were read
    QByteArray bytes;
    QString error; ///< why it could not be read
};

/// The simulated panel's state, its state file, its call log and its callback thread.
struct SystemSet::Private
{
    /// Guards everything below; callbacks are never called with it held.
    mutable std::mutex mutex;
    std::lock_guard<std::mutex> lock() const { return std::lock_guard<std::mutex>(mutex); }
    PanelState live; ///< what the getters answer
    std::string stateFile;
    bool fileUnusable = false;      ///< the file could not be used at load: never overwrite it
    FileSignature seen;             ///< the file as last read or written here
    std::int64_t seenCheckedNs = 0; ///< wall time at which the file was last found to be as seen
    std::string lastProblem;        ///< the last trouble with the file reported on stderr, reported only once

    std::string logFile;
    std::vector<std::string> log;
    std::function<void(const std::string &)> observer;

    /// Declared last, so destroyed first: its thread has stopped before the state its tasks read goes away.
    CallbackWorker worker;

    /// Drops the state and loads the state file at @p path (empty: defaults, nothing persisted). Removes the
    /// temporary files that a writer killed while writing it left beside it.
    void load(const std::string &path);
    void readDocument(const QByteArray &text, const QString &name);
    void append(const std::string &line);

    /// The state file now.
    FileSnapshot snapshot() const;
    /// Takes the language from the state file when it changed since it was last seen: another program
    /// switched it.
    void followLanguage();
    /// Writes @p key of the adapter @p nic (when it has one) into the state file as it is now on disk,
    /// keeping everything else in it. An outside change since the file was last seen is kept, and its
    /// language taken.
    void persist(PanelState::PersistedKey key, int nic);
    /// Prints @p message on stderr unless it is the last one printed since the file was last loaded or
    /// written.
    void reportOnce(const std::string &message);

    /// Applies @p apply to the live state and, when @p persistIt, writes @p key of @p nic to the state file.
    template<typename F>
    void change(bool persistIt, PanelState::PersistedKey key, int nic, F apply)
    {
        apply(live);
        if (persistIt)
            persist(key, nic);
    }

    /// The address in use: the lease in DHCP mode, the static one otherwise, none while disabled or, for
    /// Wi-Fi, while no network is connected.
    IP liveAddress(int nic, IP PanelState::Addresses::*field) const
    {
        const auto guard = lock();
        const auto *a = live.adapter(nic);
        if (!a || !a->present || !a->enabled || (nic == NIC_WIFI && !live.wifiConnected))
            return 0;
        return a->dhcp ? a->lease.*field : a->stat.*field;
    }

    IP storedAddress(int nic, IP PanelState::Addresses::*field) const
    {
        const auto guard = lock();
        const auto *a = live.adapter(nic);
        return a && a->present ? a->stat.*field : 0;
    }

    void setStoredAddress(const char *operation, int nic, IP PanelState::Addresses::*field,
                          PanelState::PersistedKey key, IP value, bool persistIt)
    {
        const auto guard = lock();
        append(operation + (' ' + std::to_string(nic)) + ' ' + PanelState::ipToText(value).toStdString() +
               (persistIt ? " 1" : " 0"));
        if (live.adapter(nic))
            change(persistIt, key, nic, [&](PanelState &s) { s.adapter(nic)->stat.*field = value; });
    }
};

} // namespace HMI
