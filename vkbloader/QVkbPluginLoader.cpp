#include "QVkbPluginLoader.h"

QVkbPluginLoader *QVkbPluginLoader::instance()
{
    static QVkbPluginLoader loader;
    return &loader;
}
