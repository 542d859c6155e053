// Measures, in one process, how fast the settings screen appears and switches pages on this machine's
// software renderer: init() to the first rendered frame, open() to the first frame, and the first and later
// switches to each page. Prints medians of wall and CPU time over repeated runs, one line per figure.
// Figures near 5 ms on the offscreen platform are its frame pacing, not work: compare the CPU figures, or
// count instructions with scripts/bench-instructions.sh.
//
//   bench_screen [--runs N] [--size WxH] [--library PATH]

#include "FrameClock.h"
#include "ISystemSet.h"
#include "ScreenDriver.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLibrary>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

namespace {

/// Wall and CPU milliseconds of an action until its frames are shown.
struct Figure
{
    double wall = 0;
    double cpu = 0;
};

template<typename Action, typename Pending>
Figure measure(QQuickWindow *window, Action action, Pending pending)
{
    QElapsedTimer timer;
    timer.start();
    const double cpuStart = cpuMs();
    FrameClock(window).run(action, pending);
    return {timer.nsecsElapsed() / 1e6, cpuMs() - cpuStart};
}

template<typename Action>
Figure measure(QQuickWindow *window, Action action)
{
    return measure(window, action, [] { return false; });
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void report(const char *what, const std::vector<Figure> &figures)
{
    std::vector<double> wall;
    std::vector<double> cpu;
    for (const Figure &figure : figures) {
        wall.push_back(figure.wall);
        cpu.push_back(figure.cpu);
    }
    std::printf("%-34s median %8.2f ms   cpu median %8.2f ms   min %8.2f ms   runs %zu\n", what, median(wall),
                median(cpu), wall.empty() ? 0.0 : *std::min_element(wall.begin(), wall.end()), wall.size());
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
    std::vector<Figure> firstInit;
    std::vector<Figure> laterInit;
    std::vector<std::unique_ptr<QQuickWindow>> windows;
    QQuickItem *root = nullptr;
    for (int run = 0; run <= runs; ++run) {
        auto window = std::make_unique<QQuickWindow>();
        window->resize(size);
        window->show();
        ScreenDriver::settle(20);
        const Figure figure = measure(window.get(), [&] {
            root = settings->init(&engine, size.width(), size.height(), 20000);
            if (root)
                root->setParentItem(window->contentItem());
            settings->open();
        });
        (run == 0 ? firstInit : laterInit).push_back(figure);
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

    // (b) open() to the first frame.
    std::vector<Figure> opens;
    for (int run = 0; run < runs; ++run) {
        settings->close();
        ScreenDriver::settle(5);
        opens.push_back(measure(window, [&] { settings->open(); }));
    }

    // (c) switches to each page: the first one makes its cards, later ones only show them. A person's first
    // tap comes a while after the screen is shown: the idle work after the first frame (see
    // bench_instructions) is given that while, as it is there.
    ScreenDriver::settle(300);
    const char *const pages[] = {"Network", "Language", "Version", "General"};
    std::map<QString, std::vector<Figure>> firstSwitch;
    std::map<QString, std::vector<Figure>> laterSwitch;
    // The Version page is on screen once its QR image is loaded and shown.
    const auto qrPending = [root] { return !imageShown(root, QStringLiteral("barcodeImg.png")); };
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
            const Figure figure = name == QLatin1String("Version")
                                      ? measure(
                                            window, [&] { ScreenDriver::tap(window, button); }, qrPending)
                                      : measure(window, [&] { ScreenDriver::tap(window, button); });
            (run == 0 ? firstSwitch : laterSwitch)[name].push_back(figure);
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
