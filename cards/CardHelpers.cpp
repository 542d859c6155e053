#include "cards/CardHelpers.h"

#include "shell/GlobalInfo.h"

#include <QCoreApplication>

namespace QSP {

int sideCardRowHeight()
{
    const GlobalInfo &info = GlobalInfo::instance();
    const int screenWidth = info.screenSize().width();
    if (info.isScreenPortrait())
        return screenWidth < 600 ? 41 : 52;
    return int(screenWidth * 0.051041666666666666);
}

void bindTranslatedText(QQuickText *text, const char *context, const char *source)
{
    if (text)
        setMultilingualText(text, [context, source] { return QCoreApplication::translate(context, source); });
}

} // namespace QSP
