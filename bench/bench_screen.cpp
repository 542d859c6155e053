// Measures, in one process, how fast the settings screen appears and switches pages on this machine's
// software renderer: init() to the first rendered frame, open() to the first frame, and the first and later
// switches to each page. Prints medians over repeated runs, one line per figure.
//
//   bench_screen [--runs N] [--size WxH] [--library PATH]

#include "ISystemSet.h"
#include "ScreenDriver.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QLibrary>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

namespace {

/// Milliseconds from now until @p window has shown a new frame (or the time-out).
class FrameClock
{
public:
    explicit FrameClock(QQuickWindow *window)
        : m_window(window)
    {}

    template<typename F>
    double measure(F action)
    {
        QEventLoop loop;
        const auto connection =
            QObject::connect(m_window, &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit);
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        QElapsedTimer timer;
        timer.start();
        action();
        m_window->update();
        loop.exec();
        QObject::disconnect(connection);
        return timer.nsecsElapsed() / 1e6;
    }

private:
    QQuickWindow *m_window;
};

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void report(const char *what, const std::vector<double> &values)
{
    std::printf("%-34s median %8.2f ms   min %8.2f ms   runs %zu\n", what, median(values),
                values.empty() ? 0.0 : *std::min_element(values.begin(), values.end()), values.size());
}

} // namespace

int main(int argc, char **argv)
{
    int runs = 15;
    QSize size(1024, 600);
    QString libraryPath;
    for (int i = 1; i + 1 < argc; i += 2) {
        const QByteArray option = argv[i];
        if (option == "--runs")
            runs = std::max(1, QByteArray(argv[i + 1]).toInt());
        else if (option == "--size")
            size = QSize(QByteArray(argv[i + 1]).split('x').value(0).toInt(),
                         QByteArray(argv[i + 1]).split('x').value(1).toInt());
        else if (option == "--library")
            libraryPath = QString::fromLocal8Bit(argv[i + 1]);
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND"))
        qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication app(argc, argv);

    QLibrary library(libraryPath.isEmpty() ? QCoreApplication::applicationDirPath() +
                                                 QStringLiteral("/../lib/libqquicksystemset.so")
                                           : libraryPath);
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(library.resolve("PlexaGetInstance"));
    if (!getInstance) {
        std::fprintf(stderr, "bench_screen: cannot load the settings library: %s\n",
                     qPrintable(library.errorString()));
        return 2;
    }
    std::shared_ptr<ISystemSet> settings = getInstance()->create<ISystemSet>();
    QQmlEngine engine;

    // (a) init() to the first frame: the first run compiles and caches; later runs reuse the component.
    std::vector<double> firstInit;
    std::vector<double> laterInit;
    std::vector<std::unique_ptr<QQuickWindow>> windows;
    QQuickItem *root = nullptr;
    for (int run = 0; run <= runs; ++run) {
        auto window = std::make_unique<QQuickWindow>();
        window->resize(size);
        window->show();
        ScreenDriver::settle(20);
        FrameClock clock(window.get());
        const double ms = clock.measure([&] {
            root = settings->init(&engine, size.width(), size.height(), 20000);
            if (root)
                root->setParentItem(window->contentItem());
            settings->open();
        });
        (run == 0 ? firstInit : laterInit).push_back(ms);
        if (run < runs) {
            settings->close();
            window->hide();
        }
        windows.push_back(std::move(window));
    }
    if (!root) {
        std::fprintf(stderr, "bench_screen: init() made no screen\n");
        return 1;
    }
    QQuickWindow *window = windows.back().get();
    FrameClock clock(window);

    // (b) open() to the first frame.
    std::vector<double> opens;
    for (int run = 0; run < runs; ++run) {
        settings->close();
        ScreenDriver::settle(5);
        opens.push_back(clock.measure([&] { settings->open(); }));
    }

    // (c) switches to each page: the first one makes its cards, later ones only show them.
    const char *const pages[] = {"Network", "Language", "Version", "General"};
    std::map<QString, std::vector<double>> firstSwitch;
    std::map<QString, std::vector<double>> laterSwitch;
    const bool menuFills = size.width() < 800;
    for (int run = 0; run <= runs; ++run) {
        for (const char *page : pages) {
            const QString name = QString::fromLatin1(page);
            if (menuFills) {
                if (QQuickItem *back = ScreenDriver::findByName(root, QStringLiteral("returnButton"));
                    back && back->isVisible())
                    ScreenDriver::tap(window, back);
            }
            QQuickItem *button = ScreenDriver::findButton(root, name);
            if (!button)
                continue;
            const double ms = clock.measure([&] { ScreenDriver::tap(window, button); });
            (run == 0 ? firstSwitch : laterSwitch)[name].push_back(ms);
        }
    }

    std::printf("settings screen %dx%d, %d runs\n", size.width(), size.height(), runs);
    report("init -> first frame (first)", firstInit);
    report("init -> first frame (later)", laterInit);
    report("open -> first frame", opens);
    for (const char *page : pages) {
        const QString name = QString::fromLatin1(page);
        report(qPrintable(QStringLiteral("first switch to %1").arg(name)), firstSwitch[name]);
        report(qPrintable(QStringLiteral("later switch to %1").arg(name)), laterSwitch[name]);
    }
    return 0;
}
