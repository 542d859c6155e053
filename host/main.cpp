// settings-host: plays the panel's host program. It loads the settings library at run time through its
// three exports, shows the screen in a window of the chosen size, and can walk every page writing one
// screenshot each.

#include "ISystemSet.h"
#include "ScreenDriver.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QInputMethod>
#include <QLibrary>
#include <QPixmap>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QTimer>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace {

struct Options
{
    int width = 1024;
    int height = 600;
    QString appName = QStringLiteral("settings-host");
    QString state;
    QString panel; ///< "simulated" or "linux"; empty: QSP_PANEL, else simulated
    QString screenshots;
    QString library;
    bool keyboard = true;
    bool help = false;
};

const char *const Usage = R"(Usage: settings-host [options]
Shows the panel's system-settings screen, loaded from its library, on the simulated panel or on this
machine's own services.

  --size WxH         screen size in pixels (default 1024x600)
  --app-name NAME    application name the screen sees ("tavrex" shows Exit instead of Reboot)
  --panel KIND       "simulated" (the default) or "linux": this machine's services through systemd and
                     NetworkManager on the system bus (DBUS_SYSTEM_BUS_ADDRESS moves it)
  --state FILE       the simulated panel's JSON state file
  --screenshots DIR  visit every page, write one PNG each into DIR, then exit (needs no display)
  --library PATH     the settings library (default: libqquicksystemset.so beside or below this program)
  --no-keyboard      without the on-screen keyboard (by default every text field brings it up)
  --help             this text
)";

int fail(const std::string &message)
{
    std::fprintf(stderr, "settings-host: %s\n", message.c_str());
    return 2;
}

/// Parses the command line; an empty string means success, else the complaint.
std::string parse(int argc, char **argv, Options &options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const auto value = [&](std::string &out) {
            if (i + 1 >= argc)
                return false;
            out = argv[++i];
            return true;
        };
        std::string v;
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--size") {
            if (!value(v))
                return "--size needs a value like 1024x600";
            int w = 0;
            int h = 0;
            char x = 0;
            char rest = 0;
            if (std::sscanf(v.c_str(), "%d%c%d%c", &w, &x, &h, &rest) != 3 || (x != 'x' && x != 'X') ||
                w < 100 || h < 100 || w > 8192 || h > 8192)
                return "bad --size '" + v + "': expected WxH, each from 100 to 8192";
            options.width = w;
            options.height = h;
        } else if (arg == "--app-name") {
            if (!value(v))
                return "--app-name needs a value";
            options.appName = QString::fromStdString(v);
        } else if (arg == "--state") {
            if (!value(v))
                return "--state needs a file";
            options.state = QString::fromStdString(v);
        } else if (arg == "--panel") {
            if (!value(v) || (v != "simulated" && v != "linux"))
                return "--panel needs \"simulated\" or \"linux\"";
            options.panel = QString::fromStdString(v);
        } else if (arg == "--screenshots") {
            if (!value(v))
                return "--screenshots needs a folder";
            options.screenshots = QString::fromStdString(v);
        } else if (arg == "--library") {
            if (!value(v))
                return "--library needs a path";
            options.library = QString::fromStdString(v);
        } else if (arg == "--no-keyboard") {
            options.keyboard = false;
        } else {
            return "unknown option '" + arg + "' (see --help)";
        }
    }
    return std::string();
}

QString defaultLibrary()
{
    const QDir dir(QCoreApplication::applicationDirPath());
    for (const QString &candidate :
         {QStringLiteral("libqquicksystemset.so"), QStringLiteral("../lib/libqquicksystemset.so")}) {
        if (QFileInfo::exists(dir.filePath(candidate)))
            return dir.filePath(candidate);
    }
    return QStringLiteral("libqquicksystemset.so");
}

const char KeyboardInputMethod[] = "qtvirtualkeyboard";

/// Every text field brings up Qt Virtual Keyboard, which the keyboard plug-in shows, unless the environment
/// names another input method. It must be chosen before the application is made.
void chooseInputMethod(const Options &options)
{
    const bool keyboardNamed = qgetenv("QT_IM_MODULE") == KeyboardInputMethod;
    if (!options.keyboard) {
        if (keyboardNamed)
            qunsetenv("QT_IM_MODULE");
        return;
    }
    if (qEnvironmentVariableIsEmpty("QT_IM_MODULE"))
        qputenv("QT_IM_MODULE", KeyboardInputMethod);
    // Without this, Qt Virtual Keyboard would open a window of its own for a field focused before the
    // plug-in's input panel exists.
    if (qgetenv("QT_IM_MODULE") == KeyboardInputMethod &&
        qEnvironmentVariableIsEmpty("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE"))
        qputenv("QT_VIRTUALKEYBOARD_DESKTOP_DISABLE", "1");
}

/// Visits every page and writes one PNG each; returns the process exit code.
int writeScreenshots(QQuickWindow *window, QQuickItem *root, ISystemSet *settings, const QString &folder,
                     const Options &options)
{
    if (!QDir().mkpath(folder))
        return fail("cannot create the folder " + folder.toStdString());
    const QString size = QStringLiteral("%1x%2").arg(options.width).arg(options.height);
    int written = 0;
    int failed = 0;
    const auto shoot = [&](const QString &page, int settleMs = 100) {
        ScreenDriver::settle(settleMs);
        const QString file = QDir(folder).filePath(QStringLiteral("%1-%2.png").arg(size, page));
        QImage image = window->grabWindow();
        if (image.isNull()) // offscreen, the software renderer's pixels are in the window's backing store
            image = window->screen()->grabWindow(window->winId()).toImage();
        if (image.isNull() || !image.save(file))
            ++failed, std::fprintf(stderr, "settings-host: could not write %s\n", qPrintable(file));
        else
            ++written, std::printf("%s\n", qPrintable(file));
    };
    const auto press = [&](QQuickItem *item) {
        ScreenDriver::tap(window, item);
        ScreenDriver::settle(50);
    };
    // With the keyboard on, a few pictures show it open: a tap on a text field brings it up.
    const bool keyboard = qgetenv("QT_IM_MODULE") == KeyboardInputMethod;
    const auto shootKeyboard = [&](QQuickItem *field, const QString &what) {
        if (!keyboard)
            return;
        if (field)
            press(field);
        if (!field || !QGuiApplication::inputMethod()->isVisible()) {
            ++failed;
            std::fprintf(stderr, "settings-host: the keyboard did not open for the %s\n", qPrintable(what));
            return;
        }
        shoot(QStringLiteral("keyboard-") + what, 300);
    };
    const auto backToMenu = [&] {
        if (QQuickItem *back = ScreenDriver::findByName(root, QStringLiteral("returnButton"));
            back && back->isVisible())
            press(back);
    };

    ScreenDriver::settle(100); // positioners lay out the menu with the first frame: tap only after it
    if (options.width < 800)
        shoot(QStringLiteral("menu"));
    for (const char *page : {"General", "Network", "Language", "Version"}) {
        QQuickItem *button = ScreenDriver::findButton(root, QString::fromLatin1(page));
        if (!button) {
            std::fprintf(stderr, "settings-host: no menu button \"%s\"\n", page);
            continue;
        }
        press(button);
        shoot(QString::fromLatin1(page).toLower());
        if (std::strcmp(page, "Network") == 0) {
            // The selected adapter's first address field.
            shootKeyboard(ScreenDriver::findTextField(root), QStringLiteral("network"));
            // The Wi-Fi summary row, the way into the Wi-Fi page, belongs to the Wi-Fi adapter.
            if (QQuickItem *adapter = ScreenDriver::findByName(root, QStringLiteral("nicButton4"));
                adapter && adapter->isVisible())
                press(adapter);
            if (QQuickItem *wifi = ScreenDriver::findByName(root, QStringLiteral("wifiSettingsButton"));
                wifi && wifi->isVisible()) {
                press(wifi);
                shoot(QStringLiteral("wifi"), 2000); // after the scan that opening the page starts
                // The first nearby network that asks for a password, and its password field: the
                // connected network joins the nearby ones after a reset.
                QQuickItem *password = nullptr;
                if (QQuickItem *reset = ScreenDriver::findByName(root, QStringLiteral("wifiResetButton"));
                    keyboard && reset) {
                    press(reset);
                    // The button is off until the reset's scan result is listed.
                    for (int waited = 0; waited < 20000 && !reset->isEnabled(); waited += 50)
                        ScreenDriver::settle(50);
                    ScreenDriver::settle(200);
                }
                for (int row = 0; keyboard && !password; ++row) {
                    QQuickItem *network =
                        ScreenDriver::findByName(root, QStringLiteral("wifiRow%1").arg(row));
                    if (!network)
                        break;
                    if (!network->isVisible())
                        continue;
                    press(network);
                    password = ScreenDriver::findTextField(window->contentItem());
                    if (!password) { // no password asked: leave the network's dialog
                        settings->close();
                        settings->open();
                    }
                }
                shootKeyboard(password, QStringLiteral("wifi-password"));
                settings->close(); // puts the dialog and the keyboard away
                settings->open();
                if (QQuickItem *back = ScreenDriver::findByName(root, QStringLiteral("wifiReturnButton")))
                    press(back);
            } else {
                std::fprintf(stderr,
                             "settings-host: the Wi-Fi page is not reachable from the Network page\n");
            }
        }
        backToMenu();
    }
    return written > 0 && failed == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    const std::string complaint = parse(argc, argv, options);
    if (!complaint.empty()) {
        std::fprintf(stderr, "%s", Usage);
        return fail(complaint);
    }
    if (options.help) {
        std::printf("%s", Usage);
        return 0;
    }

    const bool noDisplay =
        qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (noDisplay && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        if (options.screenshots.isEmpty()) {
            options.screenshots = QStringLiteral("screenshots");
            std::fprintf(stderr, "settings-host: no display; writing screenshots to ./%s instead\n",
                         qPrintable(options.screenshots));
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    if (!options.screenshots.isEmpty() && qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    if (!options.state.isEmpty())
        qputenv("QSP_PANEL_STATE", QFileInfo(options.state).absoluteFilePath().toUtf8());
    if (!options.panel.isEmpty())
        qputenv("QSP_PANEL", options.panel.toUtf8());
    chooseInputMethod(options);

    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(options.appName);

    QLibrary library(options.library.isEmpty() ? defaultLibrary() : options.library);
    if (!library.load())
        return fail("cannot load the settings library: " + library.errorString().toStdString());
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(library.resolve("PlexaGetInstance"));
    const auto closeInstance = reinterpret_cast<PlexaCloseInstanceFn>(library.resolve("PlexaCloseInstance"));
    const auto queryData = reinterpret_cast<PlexaQueryDataFn>(library.resolve("PlexaQueryData"));
    if (!getInstance || !closeInstance || !queryData)
        return fail("the library " + library.fileName().toStdString() +
                    " lacks one of the exports PlexaGetInstance, "
                    "PlexaCloseInstance, PlexaQueryData");

    Plexa::PluginRegistry *registry = getInstance();
    std::shared_ptr<ISystemSet> settings = registry ? registry->create<ISystemSet>() : nullptr;
    if (!settings)
        return fail("the library's registry offers no ISystemSet");

    QQuickWindow window;
    window.setTitle(QStringLiteral("Settings"));
    window.resize(options.width, options.height);
    QQmlEngine engine;
    QQuickItem *root = settings->init(&engine, options.width, options.height, 20000);
    if (!root)
        return fail("the settings screen could not be built (see the warnings above)");
    root->setParentItem(window.contentItem());
    settings->open();
    window.show();

    int code = 0;
    if (!options.screenshots.isEmpty())
        code = writeScreenshots(&window, root, settings.get(), options.screenshots, options);
    else
        code = app.exec();

    // Like the panel's host, leave the screen to the end of the process.
    settings->close();
    closeInstance();
    return code;
}
