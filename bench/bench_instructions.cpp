// Runs one measured section after another in the settings screen or in the plain-QML baseline, for
// scripts/bench-instructions.sh to count instructions under callgrind: instrumentation is on only inside a
// section, each section ends with a dump named after it, and the work between sections (settling, finding
// buttons, checking whether the work is on screen) is not counted. Outside valgrind it prints each section's
// CPU time instead.
//
//   bench_instructions --program screen|rescan|baseline-start|baseline [--size WxH] [--networks N]
//                      [--rescans N] [--library PATH] [--settle MS]
//
// screen: init and open to the first frame, the first and a later switch to each page, on the simulated
// panel's defaults. rescan: rescans of the Wi-Fi list of N nearby networks (default 500). baseline-start: the
// plain-QML page made in a fresh process, its modules loaded on the way, as the screen's start loads its own.
// baseline: the same page made once its modules are loaded, and a later switch back to it.
// --settle: how long the idle work between sections may take (default 300 ms, 3000 under valgrind); raise it
// under an emulator.

#include "FrameClock.h"
#include "ISystemSet.h"
#include "ScreenDriver.h"

#include <QFile>
#include <QGuiApplication>
#include <QLibrary>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
// Without valgrind's headers (the armhf sysroot has none) the sections are only timed.
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#define RUNNING_ON_VALGRIND 0
#endif

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

int g_settleMs = 300;

/// Runs @p action in a section named @p name until its frames are shown (see FrameClock::run); only the
/// section's own work is counted, not the checks of @p pending.
void section(
    const char *name, QQuickWindow *window, const std::function<void()> &action,
    const std::function<bool()> &pending = [] { return false; })
{
    ScreenDriver::settle(g_settleMs);
    FrameClock clock(window);
    const double cpuStart = cpuMs();
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    clock.run(action, [&pending] {
        CALLGRIND_TOGGLE_COLLECT;
        const bool more = pending();
        CALLGRIND_TOGGLE_COLLECT;
        return more;
    });
    CALLGRIND_DUMP_STATS_AT(name);
    CALLGRIND_STOP_INSTRUMENTATION;
    std::printf("%-34s %8.2f ms CPU\n", name, cpuMs() - cpuStart);
    std::fflush(stdout);
}

bool tap(QQuickWindow *window, QQuickItem *root, const QString &text)
{
    QQuickItem *button = ScreenDriver::findButton(root, text);
    if (button)
        ScreenDriver::tap(window, button);
    return button;
}

/// The first item under @p root that has the property @p name.
QQuickItem *findWithProperty(QQuickItem *root, const char *name)
{
    if (!root)
        return nullptr;
    if (root->metaObject()->indexOfProperty(name) >= 0)
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findWithProperty(child, name))
            return found;
    }
    return nullptr;
}

/// The rows of the Wi-Fi card's list that show a network, visible.
int wifiRowsShown(QQuickItem *card)
{
    int shown = 0;
    const auto *layout = card ? card->property("layout").value<QQuickItem *>() : nullptr;
    for (QQuickItem *row : layout ? layout->childItems() : QList<QQuickItem *>()) {
        if (!row->isVisible())
            continue;
        for (QQuickItem *part : row->childItems()) {
            if (part->inherits("QQuickText") &&
                part->property("text").toString().startsWith(QLatin1String("Net ")))
                ++shown;
        }
    }
    return shown;
}

QByteArray stateWithNetworks(int count)
{
    QByteArray json = R"({"delaysMs": {"scan": 0}, "wifi": {"connected": null, "networks": [)";
    for (int i = 0; i < count; ++i)
        json += QByteArray(i ? "," : "") + R"({"ssid": "Net )" + QByteArray::number(i) +
                R"(", "strength": )" + QByteArray::number(i % 101) + R"(, "secured": true})";
    return json + "]}}";
}

int runScreen(QQuickWindow *window, const QSize &size, const QString &libraryPath, bool rescanOnly,
              int networks, int rescans)
{
    QLibrary library(libraryPath.isEmpty() ? QCoreApplication::applicationDirPath() +
                                                 QStringLiteral("/../lib/libqquicksystemset.so")
                                           : libraryPath);
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(library.resolve("PlexaGetInstance"));
    if (!getInstance) {
        std::fprintf(stderr, "bench_instructions: cannot load the settings library: %s\n",
                     qPrintable(library.errorString()));
        return 2;
    }
    std::shared_ptr<ISystemSet> settings = getInstance()->create<ISystemSet>();
    QQmlEngine engine;
    QQuickItem *root = nullptr;
    const auto start = [&] {
        root = settings->init(&engine, size.width(), size.height(), 20000);
        if (root)
            root->setParentItem(window->contentItem());
        settings->open();
    };
    if (rescanOnly)
        FrameClock(window).run(start);
    else
        section("init+open -> first frame", window, start);
    if (!root) {
        std::fprintf(stderr, "bench_instructions: init() made no screen\n");
        return 1;
    }
    if (!rescanOnly)
        section("open -> first frame", window, [&] {
            settings->close();
            settings->open();
        });

    const bool menuFills = size.width() < 800;
    // Buttons are looked for before a section, so that the search is not counted.
    const auto toPage = [&](const QString &page) {
        QQuickItem *back =
            menuFills ? ScreenDriver::findByName(root, QStringLiteral("returnButton")) : nullptr;
        if (back && !back->isVisible())
            back = nullptr;
        QQuickItem *button = back ? nullptr : ScreenDriver::findButton(root, page);
        return [=] {
            if (back) { // the menu fills the screen: back to it, then on to the page
                ScreenDriver::tap(window, back);
                if (QQuickItem *shown = ScreenDriver::findButton(root, page))
                    ScreenDriver::tap(window, shown);
            } else if (button) {
                ScreenDriver::tap(window, button);
            }
        };
    };
    const auto qrPending = [root] { return !imageShown(root, QStringLiteral("barcodeImg.png")); };
    const std::vector<const char *> rounds =
        rescanOnly ? std::vector<const char *>{} : std::vector<const char *>{"first", "later"};
    for (const char *when : rounds) {
        for (const char *page : {"Network", "Language", "Version", "General"}) {
            const QString name = QString::fromLatin1(page);
            const QByteArray title = QByteArray(when) + " switch to " + page;
            section(
                title.constData(), window, toPage(name),
                name == QLatin1String("Version") ? std::function<bool()>(qrPending) : [] { return false; });
        }
    }

    if (!rescanOnly) {
        settings->close();
        return 0;
    }
    // The Wi-Fi page: its first scan lists every network; each rescan replaces the whole list.
    toPage(QStringLiteral("Network"))();
    ScreenDriver::settle(g_settleMs);
    tap(window, root, QStringLiteral("Wi-Fi"));
    ScreenDriver::settle(g_settleMs);
    if (QQuickItem *button = ScreenDriver::findByName(root, QStringLiteral("wifiSettingsButton")))
        ScreenDriver::tap(window, button);
    QQuickItem *card = findWithProperty(root, "scanButton");
    auto *scan = card ? card->property("scanButton").value<QQuickItem *>() : nullptr;
    if (!scan || !scan->isVisible()) {
        std::fprintf(stderr, "bench_instructions: the Wi-Fi page did not open\n");
        return 1;
    }
    FrameClock clock(window);
    clock.run([] {}, [card, networks] { return wifiRowsShown(card) < networks; });
    for (int i = 0; i < rescans; ++i) {
        const QByteArray name = "rescan of " + QByteArray::number(networks) + " networks";
        // A rescan is on screen once the card has listed the whole new result ("listing" goes false).
        section(
            name.constData(), window, [&] { ScreenDriver::tap(window, scan); },
            [card, networks] {
                return card->property("listing").toBool() || wifiRowsShown(card) < networks;
            });
    }
    settings->close();
    return 0;
}

int runBaseline(QQuickWindow *window, bool cold)
{
    QQmlEngine engine;
    std::unique_ptr<QObject> object;
    QQuickItem *root = nullptr;
    // The modules the page imports are loaded first, as the screen's are by its start: what is measured is
    // the page itself, as a page switch that makes a page would cost.
    if (!cold) {
        QQmlComponent warmUp(&engine);
        warmUp.setData("import QtQuick 2.15\nimport QtQuick.Controls 2.15\nItem { Button {} Switch {} }",
                       QUrl());
        std::unique_ptr<QObject>(warmUp.create());
    }
    section(cold ? "baseline start" : "page creation", window, [&] {
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/baseline/Baseline.qml")));
        object.reset(component.create());
        root = qobject_cast<QQuickItem *>(object.get());
        if (root)
            root->setParentItem(window->contentItem());
    });
    if (!root) {
        std::fprintf(stderr, "bench_instructions: the baseline page did not load\n");
        return 1;
    }
    if (cold)
        return 0;
    tap(window, root, QStringLiteral("Other"));
    section("later switch", window, [&] { tap(window, root, QStringLiteral("Settings")); });
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QString program = QStringLiteral("screen");
    QSize size(1024, 600);
    QString libraryPath;
    int networks = 500;
    int rescans = 3;
    int settleMs = 0;
    for (int i = 1; i + 1 < argc; i += 2) {
        const QByteArray option = argv[i];
        const QByteArray value = argv[i + 1];
        if (option == "--program")
            program = QString::fromLatin1(value);
        else if (option == "--size")
            size = QSize(value.split('x').value(0).toInt(), value.split('x').value(1).toInt());
        else if (option == "--networks")
            networks = qMax(1, value.toInt());
        else if (option == "--rescans")
            rescans = qMax(0, value.toInt());
        else if (option == "--library")
            libraryPath = QString::fromLocal8Bit(value);
        else if (option == "--settle")
            settleMs = qMax(0, value.toInt());
    }
    if (settleMs > 0)
        g_settleMs = settleMs;
    else if (RUNNING_ON_VALGRIND)
        g_settleMs = 3000; // idle work between sections takes longer under valgrind
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    QTemporaryDir dir;
    if (program == QLatin1String("rescan")) {
        QFile state(dir.filePath(QStringLiteral("state.json")));
        if (!state.open(QIODevice::WriteOnly) || state.write(stateWithNetworks(networks)) < 0)
            return 2;
        state.close();
        qputenv("QSP_PANEL_STATE", QFile::encodeName(state.fileName()));
    }
    QGuiApplication app(argc, argv);
    QQuickWindow window;
    window.resize(size);
    window.show();
    ScreenDriver::settle(20);
    if (program.startsWith(QLatin1String("baseline")))
        return runBaseline(&window, program == QLatin1String("baseline-start"));
    return runScreen(&window, size, libraryPath, program == QLatin1String("rescan"), networks, rescans);
}
