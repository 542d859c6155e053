#include "QVkbPluginLoader.h"

#include <QDir>
#include <QFileInfo>

#include <dlfcn.h>

namespace {

const char PluginVariable[] = "QSP_VKB_PLUGIN";
const char PluginFileName[] = "libqspkeyboard.so";
const char CreateFunction[] = "qvkbCreateKeyboard";

/// The folder this library was loaded from.
QString ownFolder()
{
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void *>(&QVkbPluginLoader::instance), &info) || !info.dli_fname)
        return QString();
    return QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absolutePath();
}

} // namespace

QVkbPluginLoader *QVkbPluginLoader::instance()
{
    static QVkbPluginLoader loader;
    return &loader;
}

VkbInterface *QVkbPluginLoader::vkb()
{
    if (m_handedOver)
        return m_handedOver;
    if (!m_loadTried) {
        m_loadTried = true;
        m_loaded = load();
    }
    return m_loaded;
}

QString QVkbPluginLoader::pluginPath()
{
    const QString named = qEnvironmentVariable(PluginVariable);
    if (!named.isEmpty())
        return named;
    const QString folder = ownFolder();
    return folder.isEmpty() ? QString() : QDir(folder).filePath(QString::fromLatin1(PluginFileName));
}

VkbInterface *QVkbPluginLoader::load()
{
    const QString path = pluginPath();
    // No keyboard installed is an ordinary set-up (the screen works without one); a keyboard asked for by
    // name that cannot be used is worth a warning.
    const bool named = !qEnvironmentVariableIsEmpty(PluginVariable);
    if (path.isEmpty() || (!named && !QFileInfo::exists(path)))
        return nullptr;
    m_library.setFileName(path);
    if (!m_library.load()) {
        qWarning("QVkbPluginLoader: cannot load the keyboard plug-in: %s",
                 qPrintable(m_library.errorString()));
        return nullptr;
    }
    const auto create = reinterpret_cast<VkbCreateFunction>(m_library.resolve(CreateFunction));
    if (!create) {
        qWarning("QVkbPluginLoader: %s does not export %s", qPrintable(path), CreateFunction);
        return nullptr;
    }
    return create();
}
