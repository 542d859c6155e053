// soak: drives the settings screen, loaded as a host loads it, through the same round of touches many times
// and reports the process's resident memory, its heap in use, its live QObjects, threads and open files at
// the start and every K rounds. After the first rounds (which make every card, compile every document and
// fill Qt's caches) all of them must stay flat.
//
//   soak [--rounds N] [--report-every K] [--warmup W] [--size WxH] [--classes N] [--gc] [--trace]
//        [--library PATH]
//
// Each round: close and open the screen; visit every page from the menu; on the General page tap the buzzer
// switch twice; on the Network page tap the "Static IP" and "Disable Network" switches of LAN0 twice each,
// type a new address into its IP field, select the Wi-Fi adapter and open the Wi-Fi page, scan, tap a nearby
// network, type its password (a wrong one every other round), connect, close the dialog and go back; switch
// the panel to Chinese (as another program would, through the simulated panel's state file) and back to
// English on the Language page. It runs on the offscreen platform with the software renderer, on a simulated
// panel whose callbacks come after a few milliseconds and whose state file lives in a temporary folder.

#include "ISystemSet.h"
#include "PanelSimulator.h"
#include "ScreenDriver.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QLibrary>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QtCore/private/qhooks_p.h>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

// ---- Live QObjects, counted through Qt's object hooks ----

struct LiveObjects
{
    std::mutex mutex;
    std::unordered_set<QObject *> objects;
    quintptr previousAdd = 0;
    quintptr previousRemove = 0;
};

/// Never destroyed: objects may still go after main() has returned.
LiveObjects &live()
{
    static auto *objects = new LiveObjects;
    return *objects;
}

void onAddObject(QObject *object)
{
    LiveObjects &l = live();
    {
        const std::lock_guard<std::mutex> lock(l.mutex);
        l.objects.insert(object);
    }
    if (l.previousAdd)
        reinterpret_cast<QHooks::AddQObjectCallback>(l.previousAdd)(object);
}

void onRemoveObject(QObject *object)
{
    LiveObjects &l = live();
    {
        const std::lock_guard<std::mutex> lock(l.mutex);
        l.objects.erase(object);
    }
    if (l.previousRemove)
        reinterpret_cast<QHooks::RemoveQObjectCallback>(l.previousRemove)(object);
}

void installObjectHooks()
{
    LiveObjects &l = live();
    l.previousAdd = qtHookData[QHooks::AddQObject];
    l.previousRemove = qtHookData[QHooks::RemoveQObject];
    qtHookData[QHooks::AddQObject] = reinterpret_cast<quintptr>(&onAddObject);
    qtHookData[QHooks::RemoveQObject] = reinterpret_cast<quintptr>(&onRemoveObject);
}

void removeObjectHooks()
{
    const LiveObjects &l = live();
    qtHookData[QHooks::AddQObject] = l.previousAdd;
    qtHookData[QHooks::RemoveQObject] = l.previousRemove;
}

size_t liveObjectCount()
{
    LiveObjects &l = live();
    const std::lock_guard<std::mutex> lock(l.mutex);
    return l.objects.size();
}

/// Live objects per class name. Taken between rounds, when no other thread makes or destroys objects.
std::map<std::string, long> liveObjectsByClass()
{
    LiveObjects &l = live();
    const std::lock_guard<std::mutex> lock(l.mutex);
    std::map<std::string, long> counts;
    for (const QObject *object : l.objects)
        ++counts[object->metaObject()->className()];
    return counts;
}

// ---- Memory ----

/// The number after @p key in /proc/self/status (VmRSS: KiB; Threads: a count), -1 when missing.
long procStatus(const char *key)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(int(std::strlen(key))).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

/// Open file descriptors of the process.
long openFiles()
{
    return long(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size());
}

/// Bytes the allocator has handed out and not yet been given back.
size_t heapInUse()
{
    return mallinfo2().uordblks;
}

struct Sample
{
    int round = 0;
    long rssKiB = 0;
    size_t heapBytes = 0;
    size_t objects = 0;
    long threads = 0;
    long files = 0;
    double seconds = 0;
};

// ---- Options ----

struct Options
{
    int rounds = 1000;
    int reportEvery = 100;
    int warmup = -1; ///< -1: the first report after the start
    int classes = 12;
    bool trace = false;
    bool collectGarbage = false;
    int width = 1024;
    int height = 600;
    QString library;
};

const char *const Usage = R"(Usage: soak [options]
Drives the settings screen through the same round of touches and reports memory and live QObjects.

  --rounds N         rounds to run (default 1000)
  --report-every K   report every K rounds (default 100)
  --warmup W         rounds after which memory and objects must stay flat (default: K)
  --size WxH         screen size (default 1024x600; below 800 wide the menu fills the screen)
  --classes N        classes listed whose live object count changed between reports (default 12)
  --trace            print the simulated panel's calls of every round
  --gc               collect the QML engine's garbage before each report (tells its saw-tooth from a leak)
  --library PATH     the settings library (default: ../lib/libqquicksystemset.so beside this program)
)";

bool parseOptions(int argc, char **argv, Options &options)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg = argv[i];
        if (arg == "--help" || arg == "-h")
            return false;
        if (arg == "--trace") {
            options.trace = true;
            continue;
        }
        if (arg == "--gc") {
            options.collectGarbage = true;
            continue;
        }
        if (i + 1 >= argc) {
            std::fprintf(stderr, "soak: %s needs a value\n", argv[i]);
            return false;
        }
        const QByteArray value = argv[++i];
        bool ok = true;
        if (arg == "--rounds") {
            options.rounds = value.toInt(&ok);
            ok = ok && options.rounds >= 1;
        } else if (arg == "--report-every") {
            options.reportEvery = value.toInt(&ok);
            ok = ok && options.reportEvery >= 1;
        } else if (arg == "--warmup") {
            options.warmup = value.toInt(&ok);
            ok = ok && options.warmup >= 0;
        } else if (arg == "--classes") {
            options.classes = value.toInt(&ok);
            ok = ok && options.classes >= 0;
        } else if (arg == "--size") {
            const QList<QByteArray> parts = value.toLower().split('x');
            bool okHeight = false;
            options.width = parts.value(0).toInt(&ok);
            options.height = parts.value(1).toInt(&okHeight);
            ok = ok && okHeight && parts.size() == 2 && options.width >= 100 && options.height >= 100;
        } else if (arg == "--library") {
            options.library = QString::fromLocal8Bit(value);
        } else {
            std::fprintf(stderr, "soak: unknown option %s\n", argv[i - 1]);
            return false;
        }
        if (!ok) {
            std::fprintf(stderr, "soak: bad value '%s' for %s\n", value.constData(), arg.constData());
            return false;
        }
    }
    return true;
}

// ---- The simulated panel ----

/// Two secured networks whose passwords the scan does not hand out, so that connecting to them means
/// typing; short delays keep the rounds fast.
const char *const PanelState = R"({
  "wifi": {
    "connected": "Plant-Floor",
    "strength": 70,
    "scan": "list",
    "networks": [
      {"ssid": "Plant-Floor", "strength": 82, "secured": true, "password": "", "secret": "line-4-floor"},
      {"ssid": "Lab-A", "strength": 65, "secured": true, "password": "", "secret": "alpha-key"},
      {"ssid": "Lab-B", "strength": 45, "secured": true, "password": "", "secret": "bravo-key"},
      {"ssid": "Guest", "strength": 30, "secured": false, "password": "", "secret": ""}
    ]
  },
  "delaysMs": {"dhcp": 5, "ping": 5, "scan": 5, "reset": 5, "connect": 5}
})";

const std::map<QString, QString> Secrets = {
    {QStringLiteral("Lab-A"), QStringLiteral("alpha-key")},
    {QStringLiteral("Lab-B"), QStringLiteral("bravo-key")},
};

/// Sets the panel's language in its state file, as another program on the panel would.
bool writeLanguage(const QString &stateFile, int language)
{
    QFile in(stateFile);
    if (!in.open(QIODevice::ReadOnly))
        return false;
    QJsonObject doc = QJsonDocument::fromJson(in.readAll()).object();
    in.close();
    doc.insert(QStringLiteral("language"), language);
    QSaveFile out(stateFile);
    return out.open(QIODevice::WriteOnly) && out.write(QJsonDocument(doc).toJson()) > 0 && out.commit();
}

// ---- Waiting, as a host's event loop runs ----

/// Runs a real event loop (as the host's exec() does, so that deferred deletions happen) until @p done
/// or @p timeoutMs.
bool waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() >= timeoutMs)
            return false;
        QEventLoop loop;
        QTimer::singleShot(2, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void spin(int ms)
{
    waitUntil([] { return false; }, ms);
}

/// Until the panel has no callback pending and their results have been handed to the screen.
bool waitForPanel(int timeoutMs = 3000)
{
    const bool idle = waitUntil([] { return HMI::PanelSimulator::pendingCallbacks() == 0; }, timeoutMs);
    spin(4); // the results are queued to the GUI thread
    return idle;
}

// ---- Finding things on the screen ----

bool isA(const QObject *object, const char *className)
{
    return object && object->inherits(className);
}

/// Depth-first over the visual tree under @p root; the first item (visible ones only when @p visibleOnly)
/// for which @p match is true.
QQuickItem *findItem(QQuickItem *root, const std::function<bool(QQuickItem *)> &match,
                     bool visibleOnly = true)
{
    if (!root || (visibleOnly && !root->isVisible()))
        return nullptr;
    if (match(root))
        return root;
    for (QQuickItem *child : root->childItems()) {
        if (QQuickItem *found = findItem(child, match, visibleOnly))
            return found;
    }
    return nullptr;
}

QQuickItem *findOfClass(QQuickItem *root, const char *className)
{
    return findItem(root, [className](QQuickItem *item) { return isA(item, className); });
}

QQuickItem *findText(QQuickItem *root, const QString &text)
{
    return findItem(root, [&text](QQuickItem *item) {
        return isA(item, "QQuickText") && item->property("text").toString() == text;
    });
}

/// The switch in the same row as the visible label @p label.
QQuickItem *switchBeside(QQuickItem *root, const QString &label)
{
    QQuickItem *text = findText(root, label);
    QQuickItem *row = text ? text->parentItem() : nullptr;
    return row ? findOfClass(row, "QSP::BeepSwitch") : nullptr;
}

/// The button of the visible nearby network row named @p ssid on the Wi-Fi page (the connected network's
/// row shows the name too, but has no button).
QQuickItem *nearbyRow(QQuickItem *card, const QString &ssid)
{
    QQuickItem *name = findItem(card, [&ssid](QQuickItem *item) {
        return isA(item, "QQuickText") && item->property("text").toString() == ssid && item->parentItem() &&
               findOfClass(item->parentItem(), "QQuickAbstractButton");
    });
    return name ? findOfClass(name->parentItem(), "QQuickAbstractButton") : nullptr;
}

/// The nearest button that holds @p item (or @p item itself).
QQuickItem *buttonOf(QQuickItem *item)
{
    while (item && !isA(item, "QQuickAbstractButton"))
        item = item->parentItem();
    return item;
}

QString translated(const char *context, const char *source)
{
    return QCoreApplication::translate(context, source);
}

// ---- The driver ----

class Soak
{
public:
    Soak(QQuickWindow *window, QQuickItem *root, ISystemSet *settings, const Options &options,
         QString stateFile)
        : m_window(window)
        , m_root(root)
        , m_settings(settings)
        , m_menuFills(options.width < 800)
        , m_trace(options.trace)
        , m_stateFile(std::move(stateFile))
    {}

    void round(int number);
    int failures() const { return m_failures; }
    void reportFailures() const;

private:
    bool check(bool ok, const char *step);
    /// Taps @p item (scrolled into view first) and waits for the next frame; false when it is missing.
    bool tap(QQuickItem *item, const char *step);
    void frame();
    void scrollIntoView(QQuickItem *item);
    bool showPage(const char *page);
    void backToMenu();
    void typeText(const QString &text);
    void pressKey(Qt::Key key);

    void generalPage();
    void networkPage(int number);
    void wifiPage(int number);
    void languageRoundTrip();

    QQuickWindow *m_window;
    QQuickItem *m_root;
    ISystemSet *m_settings;
    bool m_menuFills;
    bool m_trace;
    QString m_stateFile;
    int m_failures = 0;
    std::map<std::string, int> m_failedSteps;
};

bool Soak::check(bool ok, const char *step)
{
    if (!ok) {
        ++m_failures;
        if (++m_failedSteps[step] <= 3)
            std::fprintf(stderr, "soak: step failed: %s\n", step);
    }
    return ok;
}

void Soak::reportFailures() const
{
    for (const auto &[step, count] : m_failedSteps)
        std::printf("  failed %5d times: %s\n", count, step.c_str());
}

void Soak::frame()
{
    bool swapped = false;
    const auto connection =
        QObject::connect(m_window, &QQuickWindow::frameSwapped, [&swapped] { swapped = true; });
    m_window->update();
    waitUntil([&swapped] { return swapped; }, 1000);
    QObject::disconnect(connection);
}

void Soak::scrollIntoView(QQuickItem *item)
{
    QQuickItem *flickable = item->parentItem();
    while (flickable && !isA(flickable, "QQuickFlickable"))
        flickable = flickable->parentItem();
    if (!flickable)
        return;
    const QRectF view(QPointF(0, 0), flickable->size());
    const QRectF box = item->mapRectToItem(flickable, QRectF(QPointF(0, 0), item->size()));
    if (view.contains(box.center()))
        return;
    const qreal contentY = flickable->property("contentY").toReal();
    const qreal maxY = std::max(0.0, flickable->property("contentHeight").toReal() - flickable->height());
    const qreal target = contentY + box.center().y() - flickable->height() / 2;
    flickable->setProperty("contentY", std::clamp(target, 0.0, maxY));
    frame();
}

bool Soak::tap(QQuickItem *item, const char *step)
{
    if (!check(item != nullptr, step))
        return false;
    // A finger taps what it sees: rows just made are placed by their positioner with the next frame.
    frame();
    scrollIntoView(item);
    ScreenDriver::tap(m_window, item);
    frame();
    return true;
}

bool Soak::showPage(const char *page)
{
    backToMenu();
    QQuickItem *button = ScreenDriver::findButton(m_root, translated("QSP::AppRootItem", page));
    return tap(button, page);
}

void Soak::backToMenu()
{
    if (!m_menuFills)
        return;
    QQuickItem *back = ScreenDriver::findByName(m_root, QStringLiteral("returnButton"));
    if (back && back->isVisible())
        tap(back, "return to the menu");
}

void Soak::pressKey(Qt::Key key)
{
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QGuiApplication::sendEvent(m_window, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QGuiApplication::sendEvent(m_window, &release);
}

void Soak::typeText(const QString &text)
{
    for (const QChar c : text) {
        const auto key = Qt::Key(c.toUpper().unicode());
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(c));
        QGuiApplication::sendEvent(m_window, &press);
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(c));
        QGuiApplication::sendEvent(m_window, &release);
    }
}

void Soak::generalPage()
{
    if (!showPage("General"))
        return;
    QQuickItem *buzzer = findOfClass(m_root, "QSP::CardBuzzer");
    QQuickItem *toggle = buzzer ? findOfClass(buzzer, "QSP::BeepSwitch") : nullptr;
    for (int i = 0; i < 2; ++i)
        tap(toggle, "buzzer switch");
}

void Soak::networkPage(int number)
{
    if (!showPage("Network"))
        return;
    tap(ScreenDriver::findByName(m_root, QStringLiteral("nicButton1")), "select LAN0");
    QQuickItem *network = findOfClass(m_root, "QSP::CardNetwork");
    if (!check(network != nullptr, "Network card"))
        return;

    for (const char *label : {"Static IP", "Disable Network"}) {
        for (int i = 0; i < 2; ++i) {
            tap(switchBeside(network, translated("CardNetwork", label)), label);
            check(waitForPanel(), "panel callbacks after a switch");
        }
    }

    // A new last number for LAN0's address: tap the field, type, Return.
    QQuickItem *ipLabel = findText(network, translated("CardNetwork", "IP Address"));
    QQuickItem *ipInput = ipLabel ? findOfClass(ipLabel->parentItem(), "QSP::CIpInput") : nullptr;
    auto *field = ipInput ? ipInput->property("ipi3").value<QQuickItem *>() : nullptr;
    if (tap(field, "IP address field") &&
        check(field->hasActiveFocus(), "IP address field takes the focus")) {
        typeText(QString::number(50 + number % 2));
        pressKey(Qt::Key_Return);
        frame();
        check(!field->hasActiveFocus(), "Return ends the address editing");
        check(ipInput->property("ip").toString().endsWith(QString::number(50 + number % 2)),
              "the typed address is taken");
    }

    tap(ScreenDriver::findByName(m_root, QStringLiteral("nicButton4")), "select Wi-Fi");
    QQuickItem *wifi = ScreenDriver::findByName(m_root, QStringLiteral("wifiSettingsButton"));
    if (tap(wifi && wifi->isVisible() ? wifi : nullptr, "Wi-Fi Settings row"))
        wifiPage(number);
}

void Soak::wifiPage(int number)
{
    QQuickItem *card = findOfClass(m_root, "QSP::CardWifi");
    if (!check(card != nullptr, "Wi-Fi page shown"))
        return;
    auto *scan = card->property("scanButton").value<QQuickItem *>();
    auto *spinner = card->property("scaning").value<QQuickItem *>();
    const auto scanDone = [scan, spinner] {
        return scan && scan->isEnabled() && spinner && !spinner->isVisible();
    };
    // The first opening scans by itself; later ones are refreshed by hand.
    check(waitUntil(scanDone, 3000), "first scan ends");
    if (tap(scan, "scan button"))
        check(waitUntil(scanDone, 3000) && waitForPanel(), "scan ends");

    // The network the panel is not connected to (the connected one has no row in the nearby list).
    QQuickItem *row = nullptr;
    QString ssid;
    for (const auto &[name, secret] : Secrets) {
        Q_UNUSED(secret)
        if ((row = nearbyRow(card, name))) {
            ssid = name;
            break;
        }
    }
    if (!tap(row, "nearby network row"))
        return;

    QQuickItem *overlay = m_window->contentItem();
    QQuickItem *dialog = findOfClass(overlay, "QQuickPopupItem");
    if (!check(dialog != nullptr, "the password dialog opens"))
        return;
    auto *password = findItem(dialog, [](QQuickItem *item) { return isA(item, "QQuickTextInput"); });
    if (!tap(password, "password field"))
        return;
    check(password->hasActiveFocus(), "password field takes the focus");
    // Every other round a wrong password: the dialog stays with the message and is closed by hand.
    const bool right = number % 2 == 0;
    typeText(right ? Secrets.at(ssid) : QStringLiteral("wrong-%1").arg(number));
    tap(buttonOf(findText(dialog, translated("CardWifi", "Connect"))), "Connect button");
    check(waitForPanel(), "connection outcome");
    frame();
    if (right) {
        check(waitUntil([dialog] { return !dialog->isVisible(); }, 2000), "the dialog closes once connected");
    } else {
        check(findText(dialog, translated("CardWifi", "Wrong password")) != nullptr,
              "wrong password reported");
        QQuickItem *close = findItem(dialog, [](QQuickItem *item) {
            return isA(item, "QQuickAbstractButton") && !item->childItems().isEmpty() &&
                   item->childItems().constFirst()->property("source").toUrl().path().endsWith(
                       QLatin1String("close.png"));
        });
        tap(close, "dialog close button");
        check(!dialog->isVisible(), "the dialog closes");
    }
    tap(ScreenDriver::findByName(m_root, QStringLiteral("wifiReturnButton")), "Wi-Fi return button");
    check(findOfClass(m_root, "QSP::CardNetwork") != nullptr, "back on the Network page");
    waitForPanel();
}

void Soak::languageRoundTrip()
{
    // Another program switches the panel to Chinese; the screen follows when it is opened again.
    if (!check(writeLanguage(m_stateFile, 0), "write the language into the state file"))
        return;
    m_settings->close();
    m_settings->open();
    frame();
    const QString chineseLanguage = translated("QSP::AppRootItem", "Language");
    if (!check(chineseLanguage != QLatin1String("Language"), "the screen follows the panel into Chinese"))
        return;
    backToMenu();
    if (!tap(ScreenDriver::findButton(m_root, chineseLanguage), "Language page in Chinese"))
        return;
    tap(ScreenDriver::findButton(m_root, QStringLiteral("English")), "English row");
    check(translated("QSP::AppRootItem", "Language") == QLatin1String("Language"), "back in English");
}

void Soak::round(int number)
{
    m_settings->close();
    m_settings->open();
    frame();
    generalPage();
    networkPage(number);
    showPage("Language");
    showPage("Version");
    languageRoundTrip();
    backToMenu();
    waitForPanel();
    if (m_trace) {
        std::printf("round %d:", number);
        for (const std::string &line : HMI::PanelSimulator::callLog())
            std::printf(" [%s]", line.c_str());
        std::printf("\n");
    }
    // The simulated panel keeps every call in a log for the tests; a soak only wants the screen's memory.
    HMI::PanelSimulator::clearCallLog();
}

// ---- Reporting ----

Sample sample(int round, const QElapsedTimer &clock)
{
    return {round,       procStatus("VmRSS:"),    heapInUse(), liveObjectCount(), procStatus("Threads:"),
            openFiles(), clock.elapsed() / 1000.0};
}

void printSample(const Sample &s)
{
    std::printf(
        "round %6d   rss %7.1f MiB   heap %7.0f KiB   qobjects %6zu   threads %3ld   fds %4ld   %7.1f s\n",
        s.round, s.rssKiB / 1024.0, s.heapBytes / 1024.0, s.objects, s.threads, s.files, s.seconds);
    std::fflush(stdout);
}

/// The classes whose live object count changed from @p before to @p after, largest change first.
void printClassChanges(const std::map<std::string, long> &before, const std::map<std::string, long> &after,
                       int limit)
{
    std::vector<std::pair<long, std::string>> changes;
    for (const auto &[name, count] : after) {
        const auto it = before.find(name);
        const long delta = count - (it == before.end() ? 0 : it->second);
        if (delta != 0)
            changes.emplace_back(delta, name);
    }
    for (const auto &[name, count] : before) {
        if (after.find(name) == after.end())
            changes.emplace_back(-count, name);
    }
    std::sort(changes.begin(), changes.end(), [](const auto &a, const auto &b) {
        return std::abs(a.first) != std::abs(b.first) ? std::abs(a.first) > std::abs(b.first)
                                                      : a.second < b.second;
    });
    const int shown = std::min(limit, int(changes.size()));
    for (int i = 0; i < shown; ++i)
        std::printf("    %+6ld %s\n", changes[size_t(i)].first, changes[size_t(i)].second.c_str());
    if (int(changes.size()) > shown)
        std::printf("    ... %d more classes changed\n", int(changes.size()) - shown);
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!parseOptions(argc, argv, options)) {
        std::fprintf(stderr, "%s", Usage);
        return 2;
    }
    if (options.warmup < 0)
        options.warmup = std::min(options.reportEvery, options.rounds);

    // Before anything makes a QObject.
    installObjectHooks();

    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    qunsetenv("QSP_PANEL_LOG");
    QTemporaryDir stateDir;
    if (!stateDir.isValid()) {
        std::fprintf(stderr, "soak: cannot make a temporary folder\n");
        return 2;
    }
    const QString stateFile = stateDir.filePath(QStringLiteral("panel-state.json"));
    {
        QFile file(stateFile);
        if (!file.open(QIODevice::WriteOnly) || file.write(PanelState) < 0) {
            std::fprintf(stderr, "soak: cannot write %s\n", qPrintable(stateFile));
            return 2;
        }
    }
    qputenv("QSP_PANEL_STATE", QFile::encodeName(stateFile));

    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("soak"));

    QLibrary library(options.library.isEmpty() ? QCoreApplication::applicationDirPath() +
                                                     QStringLiteral("/../lib/libqquicksystemset.so")
                                               : options.library);
    if (!library.load()) {
        std::fprintf(stderr, "soak: cannot load the settings library: %s\n",
                     qPrintable(library.errorString()));
        return 2;
    }
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(library.resolve("PlexaGetInstance"));
    const auto closeInstance = reinterpret_cast<PlexaCloseInstanceFn>(library.resolve("PlexaCloseInstance"));
    if (!getInstance || !closeInstance) {
        std::fprintf(stderr, "soak: the library lacks PlexaGetInstance or PlexaCloseInstance\n");
        return 2;
    }
    Plexa::PluginRegistry *registry = getInstance();
    std::shared_ptr<ISystemSet> settings = registry ? registry->create<ISystemSet>() : nullptr;
    if (!settings) {
        std::fprintf(stderr, "soak: the library's registry offers no ISystemSet\n");
        return 2;
    }

    QQuickWindow window;
    window.resize(options.width, options.height);
    QQmlEngine engine;
    QQuickItem *root = settings->init(&engine, options.width, options.height, 20000);
    if (!root) {
        std::fprintf(stderr, "soak: the settings screen could not be built\n");
        return 2;
    }
    root->setParentItem(window.contentItem());
    settings->open();
    window.show();
    spin(100); // the first frame lays out the menu

    std::printf("soak: %d rounds at %dx%d, report every %d, warm-up %d rounds\n", options.rounds,
                options.width, options.height, options.reportEvery, options.warmup);
    QElapsedTimer clock;
    clock.start();
    Soak soak(&window, root, settings.get(), options, stateFile);
    const Sample start = sample(0, clock);
    printSample(start);
    Sample warm = start;
    auto classes = liveObjectsByClass();
    auto warmClasses = classes;

    for (int round = 1; round <= options.rounds; ++round) {
        soak.round(round);
        const bool report = round % options.reportEvery == 0 || round == options.rounds;
        if (report || round == options.warmup) {
            if (options.collectGarbage) {
                engine.collectGarbage();
                spin(10);
            }
            const Sample now = sample(round, clock);
            auto nowClasses = liveObjectsByClass();
            if (report) {
                printSample(now);
                printClassChanges(classes, nowClasses, options.classes);
                std::fflush(stdout);
                classes = nowClasses;
            }
            if (round == options.warmup) {
                warm = now;
                warmClasses = std::move(nowClasses);
            }
        }
    }

    const Sample end = sample(options.rounds, clock);
    const int after = options.rounds - warm.round;
    std::printf("\nsummary (%d rounds in %.1f s, %.2f s a round)\n", options.rounds, end.seconds,
                end.seconds / options.rounds);
    std::printf("  %-19s", "start");
    printSample(start);
    std::printf("  %-19s", "after warm-up");
    printSample(warm);
    std::printf("  %-19s", "end");
    printSample(end);
    const long objectGrowth = long(end.objects) - long(warm.objects);
    const double heapGrowth = double(end.heapBytes) - double(warm.heapBytes);
    if (after > 0) {
        std::printf(
            "  from warm-up to end: qobjects %+ld, heap %+.1f KiB (%+.2f KiB a round), rss %+.1f MiB, "
            "threads %+ld, fds %+ld\n",
            objectGrowth, heapGrowth / 1024, heapGrowth / 1024 / after, (end.rssKiB - warm.rssKiB) / 1024.0,
            end.threads - warm.threads, end.files - warm.files);
        if (objectGrowth != 0) {
            std::printf("  classes changed since warm-up:\n");
            printClassChanges(warmClasses, liveObjectsByClass(), options.classes);
        }
    }
    if (soak.failures() > 0) {
        std::printf("  %d steps failed:\n", soak.failures());
        soak.reportFailures();
    }

    // Like the panel's host, leave the screen to the end of the process.
    settings->close();
    closeInstance();
    removeObjectHooks();
    return soak.failures() > 0 ? 1 : 0;
}
