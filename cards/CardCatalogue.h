#pragma once

#include "shell/AppRootItem.h"

#include <array>

namespace QSP {

/// Every card the screen can show: its document, its QML types, how it is connected to the root item and to
/// the other cards, and what it does each time its page is shown. The plug-in hands it to the root item when
/// it starts.
const std::array<AppRootItem::CardEntry, 9> &cardCatalogue();

} // namespace QSP
