#pragma once

#include "shell/BaseCard.h"

namespace QSP {

class LanguageModel;

/// The Language page's card: the list of interface languages, with a tick beside the current one.
///
/// The look is in card/Language.qml; this class owns the list and sizes its rows for the screen.
class CardLanguage : public BaseCard
{
    Q_OBJECT
    /// The languages offered; owned by the card.
    Q_PROPERTY(QSP::LanguageModel *languageModel READ languageModel CONSTANT)
    /// The card's unit, the screen's row unit in whole pixels, from which the rows, the tick and the text
    /// are sized.
    Q_PROPERTY(int languageTitleRowHeight READ languageTitleRowHeight CONSTANT)

public:
    explicit CardLanguage(QQuickItem *parent = nullptr);

    LanguageModel *languageModel() const { return m_languageModel; }
    int languageTitleRowHeight() const { return m_languageTitleRowHeight; }

private:
    LanguageModel *m_languageModel = nullptr;
    int m_languageTitleRowHeight = 0;
};

} // namespace QSP
