#include "cards/CardNIC.h"

#include "cards/CardHelpers.h"
#include "cards/CardNetwork.h"
#include "controls/BeepButton.h"
#include "controls/ComboBox.h"
#include "controls/Dialog.h"
#include "shell/AppRootItem.h"
#include "shell/DocumentPart.h"
#include "shell/GlobalInfo.h"
#include "shell/OnGuiThread.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QCoreApplication>
#include <QTimer>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquicktext_p.h>

namespace QSP {

namespace {

using Panel = MeyerSingleton<HMI::SystemSet>;

constexpr int ResultShownMs = 3000;
const QColor ResultColor(Palette::Focus);

/// The adapters that may be the default one, in the order offered.
const struct
{
    const char *key;
    HMI::SystemSet::NIC nic;
} Adapters[] = {
    {QT_TRANSLATE_NOOP("CardNIC", "LAN0"), HMI::SystemSet::NIC_LAN0},
    {QT_TRANSLATE_NOOP("CardNIC", "LAN1"), HMI::SystemSet::NIC_LAN1},
    {QT_TRANSLATE_NOOP("CardNIC", "Wi-Fi"), HMI::SystemSet::NIC_WIFI},
    {QT_TRANSLATE_NOOP("CardNIC", "4G"), HMI::SystemSet::NIC_4G},
};

QString translated(const char *source)
{
    return QCoreApplication::translate("CardNIC", source);
}

void bindText(QQuickText *text, const char *source)
{
    bindTranslatedText(text, "CardNIC", source);
}

} // namespace

CardNIC::CardNIC(QQuickItem *parent)
    : BaseCard(parent)
    , m_titleRowHeight(sideCardRowHeight())
{}

void CardNIC::componentComplete()
{
    BaseCard::componentComplete();
    m_titleText = documentPart<QQuickText>(this, "titleText");
    m_networkText = documentPart<QQuickText>(this, "networkText");
    m_pingTestText = documentPart<QQuickText>(this, "pingTestText");
    m_testButtonText = documentPart<QQuickText>(this, "testButtonText");
    m_comboBox = documentPart<ComboBox>(this, "combobox");
    m_testButton = documentPart<BeepButton>(this, "testBeepButton");

    bindText(m_titleText, QT_TRANSLATE_NOOP("CardNIC", "Default Adapter"));
    bindText(m_networkText, QT_TRANSLATE_NOOP("CardNIC", "Ethernet"));
    bindText(m_pingTestText, QT_TRANSLATE_NOOP("CardNIC", "Ping Test"));
    bindText(m_testButtonText, QT_TRANSLATE_NOOP("CardNIC", "Test"));
    if (m_comboBox) {
        m_comboBox->setModel(createModel());
        initComboxCurrentIndex();
    }

    // The result is emitted on the system's thread; it is shown on this one.
    connect(this, &CardNIC::pingTestResult, this, &CardNIC::onPingTestResult, Qt::QueuedConnection);
    if (m_testButton)
        connect(m_testButton, &QQuickAbstractButton::clicked, this, &CardNIC::startPingTest);
    if (m_comboBox) {
        connect(&GlobalInfo::instance(), &GlobalInfo::localeChanged, m_comboBox,
                [this] { m_comboBox->setModel(createModel()); });
        connect(m_comboBox, &ComboBox::currentIndexChanged, this, &CardNIC::onCurrentIndexChanged);
    }
    if (AppRootItem *root = AppRootItem::instance()) {
        // Adapters may have been switched on or off elsewhere meanwhile: the list is made again.
        connect(root, &AppRootItem::opened, this, &CardNIC::updateComboBoxModel);
        if (auto *network = qobject_cast<CardNetwork *>(root->getCardItem(AppRootItem::Card_Network)))
            connect(network, &CardNetwork::netDisabledChanged, this, &CardNIC::updateComboBoxModel);
    }
}

QVariantList CardNIC::createModel() const
{
    const HMI::SystemSet &panel = Panel::instance();
    const int all = panel.getAllNIC();
    QVariantList model;
    for (const auto &adapter : Adapters) {
        if (!(all & adapter.nic) || !panel.isNicEnabled(adapter.nic))
            continue;
        model << QVariantMap{{QStringLiteral("key"), QString::fromLatin1(adapter.key)},
                             {QStringLiteral("name"), translated(adapter.key)},
                             {QStringLiteral("nic"), int(adapter.nic)}};
    }
    return model;
}

void CardNIC::initComboxCurrentIndex()
{
    if (!m_comboBox)
        return;
    const int defaultNic = Panel::instance().getDefaultNIC();
    const QVariantList model = m_comboBox->model().toList();
    int current = -1;
    for (int row = 0; row < model.size(); ++row) {
        if (model.at(row).toMap().value(QStringLiteral("nic")).toInt() == defaultNic) {
            current = row;
            break;
        }
    }
    m_comboBox->setCurrentIndex(current);
}

void CardNIC::updateComboBoxModel()
{
    if (!m_comboBox)
        return;
    m_comboBox->setModel(createModel());
    initComboxCurrentIndex();
}

void CardNIC::onCurrentIndexChanged()
{
    const QVariantList model = m_comboBox->model().toList();
    const int row = m_comboBox->currentIndex();
    if (row < 0 || row >= model.size())
        return;
    const auto nic = HMI::SystemSet::NIC(model.at(row).toMap().value(QStringLiteral("nic")).toInt());
    // Following the system's own default (on opening, after the list changed) writes nothing.
    if (nic != Panel::instance().getDefaultNIC())
        Panel::instance().setDefaultNIC(nic, false);
}

void CardNIC::startPingTest()
{
    // Through the adapter the list shows as the default. With none shown (the system's default adapter is
    // switched off) there is nothing to test through, and the test fails at once.
    HMI::SystemSet::NIC nic = Panel::instance().getDefaultNIC();
    if (m_comboBox) {
        const QVariantList model = m_comboBox->model().toList();
        const int row = m_comboBox->currentIndex();
        if (row < 0 || row >= model.size()) {
            onPingTestResult(false);
            return;
        }
        nic = HMI::SystemSet::NIC(model.at(row).toMap().value(QStringLiteral("nic")).toInt());
    }
    // The callback runs on the system's thread and only reports; the result is shown on the GUI thread.
    Panel::instance().pingTest(
        nic, onGuiThread(this, [](CardNIC *card, bool result) { Q_EMIT card->pingTestResult(result); }));
}

void CardNIC::onPingTestResult(bool result)
{
    AppRootItem *root = AppRootItem::instance();
    if (!root)
        return;
    const GlobalInfo &info = GlobalInfo::instance();
    const QSize screen = info.screenSize();
    const bool portrait = info.isScreenPortrait();
    const int reference = info.isNativePortrait() ? screen.height() : screen.width();
    const qreal width = portrait ? 426 : 0.416015625 * reference;
    const qreal height = portrait ? 243 : width * 0.5704225352112676;

    auto *dialog = new Dialog(root);
    dialog->setParentItem(root);
    dialog->setWidth(width);
    dialog->setHeight(height);
    dialog->setX((root->width() - width) / 2);
    dialog->setY((root->height() - height) / 2);

    auto *body = new QQuickItem;
    dialog->setBodyItem(body);
    auto *message = new QQuickText(body);
    message->setTextFormat(QQuickText::PlainText);
    QFont font = message->font();
    font.setPixelSize(portrait ? 22 : int(0.021484375 * reference));
    message->setFont(font);
    message->setColor(ResultColor);
    message->setText(result ? translated(QT_TRANSLATE_NOOP("CardNIC", "Test successful!"))
                            : translated(QT_TRANSLATE_NOOP("CardNIC", "Test failed!")));
    QQuickItemPrivate::get(message)->anchors()->setCenterIn(body);

    dialog->setTitle(QCoreApplication::translate("QSP::CardNIC", "Test Result"));
    dialog->open();

    // Each result goes away by itself after a while or when the user closes it, and is freed once closed.
    connect(dialog, &QQuickPopup::closed, dialog, &QObject::deleteLater);
    QTimer::singleShot(ResultShownMs, dialog, [dialog] { dialog->close(); });
}

} // namespace QSP
