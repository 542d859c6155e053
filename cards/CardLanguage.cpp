#include "cards/CardLanguage.h"

#include "cards/LanguageModel.h"
#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"

#include <QtQml/qqml.h>

namespace QSP {

CardLanguage::CardLanguage(QQuickItem *parent)
    : BaseCard(parent)
    , m_languageModel(new LanguageModel(this))
    , m_languageTitleRowHeight(int(GlobalInfo::instance().rowUnit()))
{}

} // namespace QSP
