// The library's three exported entry points.

#include "plugin/ISystemSet.h"
#include "plugin/ImplSystemSet.h"

namespace {
Plexa::PluginRegistry *g_pr = nullptr;
}

extern "C" {

Plexa::PluginRegistry *PlexaGetInstance()
{
    g_pr = new Plexa::PluginRegistry;
    g_pr->RegisterPlugin<QSP::ImplSystemSet, ISystemSet>();
    return g_pr;
}

void PlexaCloseInstance()
{
    // Forgetting the freed registry makes a second call harmless.
    delete g_pr;
    g_pr = nullptr;
}

std::int32_t PlexaQueryData(void *data)
{
    return data ? -1 : 0;
}
}
