#pragma once

#include "CallbackWorker.h"
#include "PanelState.h"
#include "SystemSet.h"

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QString>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace HMI {

inline std::optional<std::filesystem::file_time_type> modificationTime(const std::string &path)
{
    std::error_code ec;
    const auto t = std::filesystem::last_write_time(path, ec);
    if (ec)
        return std::nullopt;
    return t;
}

/// The simulated panel's state, its state file, its call log and its callback thread.
struct SystemSet::Private
{
    /// Guards everything below; callbacks are never called with it held.
    mutable std::mutex mutex;
    std::lock_guard<std::mutex> lock() const { return std::lock_guard<std::mutex>(mutex); }
    PanelState live;   ///< what the getters answer
    PanelState stored; ///< what has been persisted
    std::string stateFile;
    QJsonObject fileDoc;       ///< the file's document, into which persisted keys are written
    bool fileUnusable = false; ///< the file exists but could not be parsed: never overwrite it
    std::optional<std::filesystem::file_time_type> seenTime;

    std::string logFile;
    std::vector<std::string> log;
    std::function<void(const std::string &)> observer;

    CallbackWorker worker;

    void load(const std::string &path)
    {
        live = PanelState();
        fileDoc = QJsonObject();
        fileUnusable = false;
        stateFile = path;
        seenTime.reset();
        if (!path.empty()) {
            QFile file(QString::fromStdString(path));
            if (file.open(QIODevice::ReadOnly)) {
                seenTime = modificationTime(path);
                readDocument(file.readAll(), QString::fromStdString(path));
            } else if (file.exists()) {
                std::fprintf(stderr, "panel state %s: cannot be read (%s); using the defaults\n",
                             path.c_str(), qPrintable(file.errorString()));
                fileUnusable = true;
            }
        }
        stored = live;
    }

    void readDocument(const QByteArray &text, const QString &name)
    {
        QJsonParseError error{};
        const QJsonDocument doc = QJsonDocument::fromJson(text, &error);
        if (error.error != QJsonParseError::NoError) {
            std::fprintf(stderr, "panel state %s: not valid JSON: %s at offset %d; using the defaults\n",
                         qPrintable(name), qPrintable(error.errorString()), error.offset);
            fileUnusable = true;
        } else if (!doc.isObject()) {
            std::fprintf(stderr,
                         "panel state %s: not valid JSON: the document is not an object at offset 0; "
                         "using the defaults\n",
                         qPrintable(name));
            fileUnusable = true;
        } else {
            fileDoc = doc.object();
            live.read(fileDoc, name);
        }
    }

    void append(const std::string &line)
    {
        log.push_back(line);
        if (observer)
            observer(line);
        if (logFile.empty())
            return;
        if (FILE *f = std::fopen(logFile.c_str(), "a")) {
            std::fprintf(f, "%s\n", line.c_str());
            std::fclose(f);
        }
    }

    /// Writes the persisted configuration to the state file, replacing it in one step.
    void persist()
    {
        if (stateFile.empty())
            return;
        if (fileUnusable) {
            std::fprintf(stderr,
                         "panel state %s: not overwriting a file that could not be read; the change is "
                         "kept in memory only\n",
                         stateFile.c_str());
            return;
        }
        stored.writePersisted(fileDoc);
        QSaveFile file(QString::fromStdString(stateFile));
        if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(fileDoc).toJson()) < 0 ||
            !file.commit()) {
            std::fprintf(stderr,
                         "panel state %s: cannot be written (%s); the change is kept in memory only\n",
                         stateFile.c_str(), qPrintable(file.errorString()));
            return;
        }
        seenTime = modificationTime(stateFile);
    }

    /// Applies @p change to the live state and, when @p persistIt, to the stored configuration and the file.
    template<typename F>
    void change(bool persistIt, F change)
    {
        change(live);
        if (persistIt) {
            change(stored);
            persist();
        }
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

    void setStoredAddress(const char *operation, int nic, IP PanelState::Addresses::*field, IP value,
                          bool persistIt)
    {
        const auto guard = lock();
        append(operation + (' ' + std::to_string(nic)) + ' ' + PanelState::ipToText(value).toStdString() +
               (persistIt ? " 1" : " 0"));
        if (live.adapter(nic))
            change(persistIt, [&](PanelState &s) { s.adapter(nic)->stat.*field = value; });
    }
};

} // namespace HMI
