#include "cards/CardLanguage.h"

#include "cards/LanguageModel.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"

#include <QtQml/qqml.h>

namespace QSP {

namespace {

/// The card's unit: a fraction of the width in landscape, fixed steps in portrait.
int rowHeightFor(const GlobalInfo &info)
{
    const int width = info.screenSize().width();
    if (info.isScreenPortrait())
        return width >= 600 ? 54 : 43;
    return int(width * 0.053125);
}

} // namespace

CardLanguage::CardLanguage(QQuickItem *parent)
    : BaseCard(parent)
    , m_languageModel(new LanguageModel(this))
    , m_languageTitleRowHeight(rowHeightFor(GlobalInfo::instance()))
{}

} // namespace QSP
