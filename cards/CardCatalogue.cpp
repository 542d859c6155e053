#include "cards/CardCatalogue.h"

#include "cards/CardBrightness.h"
#include "cards/CardBuzzer.h"
#include "cards/CardDNS.h"
#include "cards/CardLanguage.h"
#include "cards/CardNIC.h"
#include "cards/CardNetwork.h"
#include "cards/CardTime.h"
#include "cards/CardVersion.h"
#include "cards/CardWifi.h"
#include "cards/LanguageModel.h"
#include "controls/CIpInput.h"
#include "controls/CMacInput.h"
#include "controls/ComboBox.h"
#include "shell/QmlTypes.h"

#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>

namespace QSP {

namespace {

void wireNetwork(AppRootItem *root, QQuickItem *item)
{
    auto *network = qobject_cast<CardNetwork *>(item);
    if (!network)
        return;
    QObject::connect(network, &CardNetwork::switchToWifiCard, root,
                     [root] { root->setCurrentPage(AppRootItem::MI_Wifi); });
    // The adapter and DNS cards stand beside every adapter but the VPN.
    const auto follow = [root, network] {
        root->setAdapterCardsShown(network->currentNIC() != HMI::SystemSet::NIC_VPN);
    };
    QObject::connect(network, &CardNetwork::currentNICChanged, root, follow);
    follow();
}

void wireWifi(AppRootItem *root, QQuickItem *item)
{
    auto *wifi = qobject_cast<CardWifi *>(item);
    if (!wifi)
        return;
    if (auto *network = qobject_cast<CardNetwork *>(root->getCardItem(AppRootItem::Card_Network)))
        QObject::connect(wifi, &CardWifi::wifiReset, network, &CardNetwork::wifiReset);
    // The page's own return button leads back to the Network page; where the title bar has a return button
    // of its own, it lies over that one and shows with the card.
    QQuickItem *back = wifi->returnButton();
    if (auto *button = qobject_cast<QQuickAbstractButton *>(back))
        QObject::connect(button, &QQuickAbstractButton::clicked, root,
                         [root] { root->setCurrentPage(AppRootItem::MI_Network); });
    QQuickAbstractButton *place = root->returnButton();
    if (!back || !place)
        return;
    back->setParentItem(place);
    QQuickItemPrivate::get(back)->anchors()->setFill(place);
    back->setVisible(wifi->isVisible());
    QObject::connect(wifi, &QQuickItem::visibleChanged, back,
                     [back, wifi] { back->setVisible(wifi->isVisible()); });
}

/// The network card's parts: adapter buttons, address and MAC fields, the default-adapter list.
void prepareNetwork(QQmlEngine *engine)
{
    CardNetwork::prepare(engine);
    CIpInput::prepare(engine);
    CMacInput::prepare(engine);
    ComboBox::prepare(engine);
}

void networkShown(QQuickItem *item)
{
    if (auto *network = qobject_cast<CardNetwork *>(item))
        network->updateWifiTimer();
}

} // namespace

const std::array<AppRootItem::CardEntry, 9> &cardCatalogue()
{
    static const std::array<AppRootItem::CardEntry, 9> catalogue{{
        {"qrc:/setting/card/Brightness.qml", [] { registerQmlType<CardBrightness>("CardBrightness"); }},
        {"qrc:/setting/card/DateTime.qml", [] { registerQmlType<CardTime>("CardTime"); }},
        {"qrc:/setting/card/Buzzer.qml", [] { registerQmlType<CardBuzzer>("CardBuzzer"); }},
        {"qrc:/setting/card/Network.qml", [] { registerQmlType<CardNetwork>("CardNetwork"); }, &wireNetwork,
         &networkShown, &prepareNetwork},
        {"qrc:/setting/card/NIC.qml", [] { registerQmlType<CardNIC>("CardNIC"); }, nullptr, nullptr,
         &ComboBox::prepare},
        {"qrc:/setting/card/DNS.qml", [] { registerQmlType<CardDNS>("CardDNS"); }},
        {"qrc:/setting/card/Version.qml", [] { registerQmlType<CardVersion>("CardVersion"); }},
        {"qrc:/setting/card/Language.qml",
         [] {
             registerQmlType<LanguageModel>("LanguageModel");
             registerQmlType<CardLanguage>("CardLanguage");
         }},
        {"qrc:/setting/card/Wifi.qml", [] { registerQmlType<CardWifi>("CardWifi"); }, &wireWifi},
    }};
    return catalogue;
}

} // namespace QSP
