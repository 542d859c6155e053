#include "cards/CardWifi.h"

#include "cards/CardNetwork.h"
#include "cards/SsidText.h"
#include "controls/BeepButton.h"
#include "controls/Dialog.h"
#include "controls/VkbManager.h"
#include "shell/AppRootItem.h"
#include "shell/BaseCard.h"
#include "shell/GlobalInfo.h"
#include "shell/KeyPressFilter.h"
#include "shell/OnGuiThread.h"
#include "shell/Palette.h"
#include "systemset/MeyerSingleton.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickpositioners_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtQuick/private/qquicktextinput_p.h>

#include <cstring>

namespace QSP {

namespace {

using SsidInfo = HMI::SystemSet::SsidInfo;

const QColor ACCENT_BLUE(Palette::Accent);
const QColor FOCUS_BLUE(Palette::Focus);
const QColor FRAME_BORDER(Palette::Border);
const QColor NAME_COLOR(Palette::Text);
const QColor CHECKED_BOX(QLatin1String("#537BAD"));

// Work a scan result may do in one turn of the event loop: the rest of the frame is left to laying out
// and drawing the rows (the new rows' first drawing costs about as much again as making them). The first
// rows of a turn are made whatever they cost, so that a usual list shows complete at once; no turn makes more
// than MAX_ROWS_PER_TURN, however cheap the rows come (reused ones cost next to nothing until laid out).
constexpr qint64 ROW_BATCH_NS = 5 * 1000 * 1000;
constexpr int MIN_ROWS_PER_TURN = 32;
constexpr int MAX_ROWS_PER_TURN = 250;

// The password dialog is laid out on a 426 x 243 design, scaled to its real size.
constexpr qreal DESIGN_W = 426;
constexpr qreal DESIGN_H = 243;

QString translated(const char *source)
{
    return QCoreApplication::translate("CardWifi", source);
}

HMI::SystemSet &panel()
{
    return MeyerSingleton<HMI::SystemSet>::instance();
}

QQuickAnchors *anchorsOf(QQuickItem *item)
{
    return QQuickItemPrivate::get(item)->anchors();
}

template<typename T>
T *part(const QObject *object, const char *name)
{
    return object ? qobject_cast<T *>(object->property(name).value<QObject *>()) : nullptr;
}

void centreVertically(QQuickItem *item, QQuickItem *in)
{
    anchorsOf(item)->setVerticalCenter(QQuickItemPrivate::get(in)->verticalCenter());
}

/// A text item for names that come from outside (network names): never taken for markup.
QQuickText *newPlainText(QQuickItem *parent)
{
    auto *text = new QQuickText(parent);
    text->setTextFormat(QQuickText::PlainText);
    return text;
}

void setPixelSize(QQuickText *text, int pixelSize)
{
    QFont font = text->font();
    font.setPixelSize(qMax(1, pixelSize));
    text->setFont(font);
}

/// The signal icon for a strength of 0..100.
QUrl signalIcon(int strength)
{
    if (strength >= 80)
        return QUrl(QStringLiteral("qrc:/setting/icons/4@2x.png"));
    if (strength >= 60)
        return QUrl(QStringLiteral("qrc:/setting/icons/3@2x.png"));
    if (strength >= 40)
        return QUrl(QStringLiteral("qrc:/setting/icons/2@2x.png"));
    return QUrl(QStringLiteral("qrc:/setting/icons/1@2x.png"));
}

HMI::SSID terminated(HMI::SSID ssid)
{
    ssid[32] = 0;
    return ssid;
}

CardNetwork *networkCard()
{
    AppRootItem *root = AppRootItem::instance();
    return root ? qobject_cast<CardNetwork *>(root->getCardItem(AppRootItem::Card_Network)) : nullptr;
}

/// Tells the network card whether an attempt to connect is under way (it then keeps its Wi-Fi summary).
void setNetworkCardConnecting(bool connecting)
{
    if (CardNetwork *network = networkCard())
        network->setWifiConnecting(connecting);
}

/// The callback of a scan or a reset: it runs on the system's thread and hands the list to @p card's.
auto scanResultTo(CardWifi *card)
{
    return onGuiThread(card, [](CardWifi *target, std::unique_ptr<std::vector<SsidInfo>> list) {
        target->onScanResult(std::move(list));
    });
}

} // namespace

CardWifi::CardWifi(QQuickItem *parent)
    : QQuickControl(parent)
{
    qRegisterMetaType<HMI::SSID>();
    connect(this, &CardWifi::wifiReset, this, &CardWifi::onWifiReset);
    m_rowTimer.setInterval(0);
    m_rowTimer.setSingleShot(true);
    connect(&m_rowTimer, &QTimer::timeout, this, &CardWifi::addPendingRows);
    // An attempt that never reports its end (an outcome this card does not know, or none at all) must not
    // keep the dialog on "Connecting" and the list locked: it ends as a time-out.
    m_connectWatchdog.setInterval(CONNECT_TIMEOUT_MS);
    m_connectWatchdog.setSingleShot(true);
    connect(&m_connectWatchdog, &QTimer::timeout, this, [this] {
        if (m_cardState == Connecting)
            onConnectResult(HMI::SystemSet::WIFI_TIMEOUT);
    });

    const GlobalInfo &info = GlobalInfo::instance();
    const QSize screen = info.screenSize();
    if (!info.isScreenPortrait() && screen.width() > 0)
        m_base = quint16(int(screen.width() * 0.046875));
    m_fontSize = m_base * 5 / 12;
    AppRootItem *root = AppRootItem::instance();
    m_titleHeight = root ? root->titleHeight() : 0;
    addReturnButton();

    // The card base comes with a height of its own, which a control's background keeps: follow the card.
    auto *background = new BaseCard(this);
    setBackground(background);
    connect(this, &QQuickItem::heightChanged, background,
            [this, background] { background->setHeight(height() - topInset() - bottomInset()); });
    m_minHeight = quint16(qMax(0, screen.height() - 20 - m_titleHeight));
    setHeight(m_minHeight);

    // The network card reports every change of the connection it sees.
    if (CardNetwork *network = networkCard())
        connect(network, &CardNetwork::wifiStatusChanged, this, &CardWifi::updateCurrentWifi);
}

CardWifi::~CardWifi()
{
    // The rows are unparented after this destructor, which changes their visibility: nothing of this card
    // may react to that any more.
    if (m_curNameText)
        disconnect(m_curNameText, nullptr, this, nullptr);
}

void CardWifi::setTitleHeight(int height)
{
    if (height == m_titleHeight)
        return;
    m_titleHeight = height;
    Q_EMIT titleHeightChanged();
}

void CardWifi::setFontSize(int size)
{
    if (size == m_fontSize)
        return;
    m_fontSize = size;
    Q_EMIT fontSizeChanged();
}

void CardWifi::setState(CardState state)
{
    if (state == m_cardState)
        return;
    m_cardState = state;
    Q_EMIT cardStateChanged();
}

QQuickItem *CardWifi::returnButton() const
{
    return m_returnButton;
}

void CardWifi::addReturnButton()
{
    const GlobalInfo &info = GlobalInfo::instance();
    AppRootItem *root = AppRootItem::instance();
    auto *button = new BeepButton(root);
    if (!root)
        button->setParent(this);
    button->setObjectName(QStringLiteral("wifiReturnButton"));
    button->setVisible(false);
    button->setSize(QSizeF(m_base, m_base));
    button->setY((m_titleHeight - m_base) / 2.0);
    if (info.isMenuFill()) {
        button->setX(40);
    } else {
        const QQuickItem *menu = root ? root->property("menuBar").value<QQuickItem *>() : nullptr;
        button->setX((menu ? menu->width() : 0) + 20);
    }
    connect(button, &QQuickAbstractButton::pressed, button, [button] { button->setOpacity(0.6); });
    connect(button, &QQuickAbstractButton::released, button, [button] { button->setOpacity(1.0); });
    connect(button, &QQuickAbstractButton::canceled, button, [button] { button->setOpacity(1.0); });

    // Where the menu fills the screen the root item's own arrow shows, and this button covers it.
    if (!info.isMenuFill()) {
        auto *arrow = new QQuickImage(button);
        arrow->setSource(QUrl(QStringLiteral("qrc:/setting/icons/leftArrow0@2x.png")));
        arrow->setSourceSize(QSize(40, 40));
        arrow->setSize(QSizeF(m_base * 2.0 / 3, m_base * 2.0 / 3));
        anchorsOf(arrow)->setCenterIn(button);
    }
    m_returnButton = button;
}

void CardWifi::componentComplete()
{
    QQuickControl::componentComplete();

    m_column = part<QQuickBasePositioner>(this, "layout");
    if (m_column) {
        m_column->setY(12);
        QQuickAnchors *anchors = anchorsOf(m_column);
        anchors->setLeft(QQuickItemPrivate::get(this)->left());
        anchors->setRight(QQuickItemPrivate::get(this)->right());
        anchors->setLeftMargin(24);
        anchors->setRightMargin(24);
        connect(m_column, &QQuickItem::heightChanged, this, &CardWifi::onColumnHeightChanged);
    }

    m_current = part<QQuickItem>(this, "current");
    m_connectedWlanText = part<QQuickText>(this, "connectedWlanText");
    setMultilingualText(m_connectedWlanText, [] { return translated("Connected Wi-Fi"); });
    if (m_connectedWlanText && m_connectedWlanText->parentItem())
        addResetButton(m_connectedWlanText->parentItem());

    m_nearbyWlanText = part<QQuickText>(this, "nearbyWlanText");
    setMultilingualText(m_nearbyWlanText, [] { return translated("Nearby Wi-Fi"); });
    m_scanButton = part<BeepButton>(this, "scanButton");
    m_scanButtonImage = part<QQuickItem>(this, "scanButtonImage");
    if (m_scanButton) {
        connect(m_scanButton, &QQuickAbstractButton::pressedChanged, this, &CardWifi::updateButtonsForState);
        connect(m_scanButton, &QQuickAbstractButton::clicked, this, &CardWifi::onClickScanWifi);
    }

    m_spinner = part<QQuickImage>(this, "scaning");
    if (m_spinner)
        m_spinner->setVisible(false);
    m_nearWlanTxt = part<QQuickItem>(this, "nearWlanTxt");

    connect(this, &CardWifi::cardStateChanged, this, &CardWifi::updateButtonsForState);
    updateButtonsForState();

    if (m_returnButton)
        m_returnButton->setVisible(isVisible());

    scanWifi();
}

void CardWifi::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickControl::itemChange(change, value);
    if (change == ItemVisibleHasChanged && m_returnButton)
        m_returnButton->setVisible(isVisible());
}

void CardWifi::addResetButton(QQuickItem *row)
{
    auto *button = new BeepButton(row);
    button->setObjectName(QStringLiteral("wifiResetButton"));
    const qreal height = qRound(rowHeight() * 0.75);
    button->setHeight(height);
    button->setWidth(qRound(height * 20 / 9));
    anchorsOf(button)->setRight(QQuickItemPrivate::get(row)->right());
    centreVertically(button, row);

    auto *background = new QQuickRectangle(button);
    anchorsOf(background)->setFill(button);
    background->setColor(ACCENT_BLUE);
    background->setRadius(5);

    auto *text = newPlainText(background);
    text->setColor(Qt::white);
    setPixelSize(text, m_fontSize);
    anchorsOf(text)->setCenterIn(background);
    setMultilingualText(text, [] { return translated("Reset"); });

    connect(button, &QQuickAbstractButton::pressedChanged, this, &CardWifi::updateButtonsForState);
    connect(button, &QQuickAbstractButton::clicked, this, &CardWifi::wifiReset);
    m_resetButton = button;
}

void CardWifi::updateButtonsForState()
{
    const bool scanning = m_cardState == Scanning;
    if (m_resetButton) {
        m_resetButton->setEnabled(!scanning);
        m_resetButton->setOpacity(scanning ? 0.4 : m_resetButton->isPressed() ? 0.6 : 1.0);
    }
    if (m_scanButton)
        m_scanButton->setEnabled(!scanning);
    if (m_scanButtonImage) {
        const bool pressed = m_scanButton && m_scanButton->isPressed();
        m_scanButtonImage->setOpacity(scanning ? 0.4 : pressed ? 0.6 : 1.0);
    }

    if (!m_spinner)
        return;
    if (scanning && m_nearWlanTxt) {
        m_spinner->setParentItem(m_nearWlanTxt);
        m_spinner->setVisible(true);
    } else if (m_cardState == Connecting && m_dialogMessage) {
        m_spinner->setParentItem(m_dialogMessage);
        m_spinner->setVisible(true);
    } else {
        m_spinner->setVisible(false);
    }
}

void CardWifi::onColumnHeightChanged()
{
    if (!m_column)
        return;
    setHeight(qMax(int(m_column->height() + topInset() + 7), int(m_minHeight)));
}

void CardWifi::onClickScanWifi()
{
    if (m_cardState == Scanning)
        return;
    scanWifi();
}

void CardWifi::scanWifi()
{
    // The spinner shows while a scan, a reset or a connection attempt is under way.
    if (m_cardState == Scanning || m_cardState == Connecting)
        return;
    setState(Scanning);
    panel().scanWifi(scanResultTo(this));
}

void CardWifi::onScanResult(std::unique_ptr<std::vector<SsidInfo>> list)
{
    // Rows that the new list fills keep showing the old one until their turn comes (in the first batch for
    // any usual list); the others go now, as does whatever remained of an earlier result.
    hideRowsFrom(list ? int(qMin<std::size_t>(list->size(), MAX_ROWS)) : 0);
    m_wifiList.clear();
    m_hiddenSsid = HMI::SSID{};
    m_pendingScan = std::move(list);
    m_pendingNext = 0;
    m_rowTimer.stop();
    // A result that comes during a connection attempt leaves the attempt on show until its outcome.
    if (m_cardState != Connecting)
        setState(Idle);
    if (!m_pendingScan)
        return;
    addPendingRows();
    if (isConnected() && !m_wifiList.isEmpty())
        updateCurrentWifi();
}

void CardWifi::addPendingRows()
{
    if (!m_pendingScan)
        return;
    std::vector<SsidInfo> &records = *m_pendingScan;
    const std::size_t count = qMin<std::size_t>(records.size(), MAX_ROWS);
    QElapsedTimer turn;
    turn.start();
    for (int made = 1; m_pendingNext < count; ++made) {
        SsidInfo &record = records[m_pendingNext++];
        record.ssid[32] = 0;
        WIFI_INFO entry;
        entry.item = addItem(record, m_wifiList.size());
        entry.ssid = record.ssid;
        entry.password = QString::fromUtf8(record.password.data(), int(record.password.size()));
        entry.needPassword = record.encrypted;
        entry.strength = record.signal;
        m_wifiList.append(entry);
        if (made >= MAX_ROWS_PER_TURN || (made >= MIN_ROWS_PER_TURN && turn.nsecsElapsed() >= ROW_BATCH_NS))
            break;
    }
    if (m_pendingNext < count)
        m_rowTimer.start(); // the rest after the screen has had its turn
    else
        m_pendingScan.reset();
}

void CardWifi::clearWifiList()
{
    m_rowTimer.stop();
    m_pendingScan.reset();
    hideRowsFrom(0);
    m_wifiList.clear();
}

void CardWifi::hideRowsFrom(int index)
{
    for (int i = index; i < m_rowsInUse; ++i)
        m_rows.at(i).item->setVisible(false);
    m_rowsInUse = qMin(m_rowsInUse, qMax(index, 0));
}

bool CardWifi::isRowShown(const HMI::SSID &ssid) const
{
    return m_hiddenSsid[0] == 0 || std::strcmp(ssid.data(), m_hiddenSsid.data()) != 0;
}

QQuickItem *CardWifi::addItem(const SsidInfo &record, int index)
{
    if (index < 0 || index > m_rows.size())
        return nullptr;
    if (index == m_rows.size())
        m_rows.append(makeRow(index));
    const Row &row = m_rows.at(index);
    row.icon->setSource(signalIcon(record.signal));
    row.name->setText(getSsidFromScan(record.ssid));
    row.item->setVisible(isRowShown(record.ssid));
    m_rowsInUse = qMax(m_rowsInUse, index + 1);
    return row.item;
}

CardWifi::Row CardWifi::makeRow(int index)
{
    Row made;
    auto *row = new QQuickItem(m_column ? static_cast<QQuickItem *>(m_column) : this);
    made.item = row;
    if (m_column) {
        row->setWidth(m_column->width());
        connect(m_column, &QQuickItem::widthChanged, row,
                [row, column = m_column] { row->setWidth(column->width()); });
    }
    row->setHeight(rowHeight());

    const qreal side = m_base * 0.5;
    made.icon = new QQuickImage(row);
    made.icon->setSize(QSizeF(side, side));
    made.icon->setSourceSize(QSize(40, 40));
    centreVertically(made.icon, row);

    QQuickText *name = newPlainText(row);
    made.name = name;
    setPixelSize(name, m_fontSize);
    name->setColor(NAME_COLOR);
    name->setX(rowHeight() * 16 / 13);
    name->setElideMode(QQuickText::ElideRight);
    centreVertically(name, row);
    const auto fitName = [row, name] { name->setWidth(qMax(0.0, row->width() - name->x())); };
    fitName();
    connect(row, &QQuickItem::widthChanged, name, fitName);

    // The row at this position always shows the list entry at the same position.
    auto *button = new BeepButton(row);
    button->setObjectName(QStringLiteral("wifiRow%1").arg(index));
    anchorsOf(button)->setFill(row);
    connect(button, &QQuickAbstractButton::clicked, this, [this, index] { onClickWifiItem(index); });
    return made;
}

void CardWifi::addCurItem()
{
    if (m_curNameText || !m_current)
        return;
    const qreal side = m_base * 0.5;

    m_curSignalIcon = new QQuickImage(m_current);
    m_curSignalIcon->setSize(QSizeF(side, side));
    m_curSignalIcon->setSourceSize(QSize(40, 40));
    centreVertically(m_curSignalIcon, m_current);

    m_curNameText = newPlainText(m_current);
    setPixelSize(m_curNameText, m_fontSize);
    m_curNameText->setColor(FOCUS_BLUE);
    m_curNameText->setX(m_current->height() * 16 / 13);
    m_curNameText->setElideMode(QQuickText::ElideRight);
    centreVertically(m_curNameText, m_current);

    m_curTick = new QQuickImage(m_current);
    m_curTick->setSize(QSizeF(side, side));
    m_curTick->setSourceSize(QSize(24, 24));
    m_curTick->setSource(QUrl(QStringLiteral("qrc:/setting/icons/newtickgreen.png")));
    centreVertically(m_curTick, m_current);
    anchorsOf(m_curTick)->setRight(QQuickItemPrivate::get(m_current)->right());

    const auto fitName = [this] {
        m_curNameText->setWidth(qMax(0.0, m_current->width() - m_curNameText->x() - m_curTick->width()));
    };
    fitName();
    connect(m_current, &QQuickItem::widthChanged, m_curNameText, fitName);

    // Icon and tick go with the name: no name, no connected row.
    connect(m_curNameText, &QQuickItem::visibleChanged, this, [this] {
        const bool shown = QQuickItemPrivate::get(m_curNameText)->explicitVisible;
        m_curSignalIcon->setVisible(shown);
        m_curTick->setVisible(shown);
    });
}

void CardWifi::updateCurrentWifi()
{
    addCurItem();
    const bool connected = panel().isWifiConnected();
    const HMI::SSID ssid = terminated(panel().currentWifiSsid());
    const bool named = ssid[0] != 0;
    if (connected && !named && m_cardState == Scanning)
        return;

    // Rows still to come from the scan follow the same rule when they are filled.
    m_hiddenSsid = connected && named ? ssid : HMI::SSID{};
    for (const WIFI_INFO &entry : qAsConst(m_wifiList)) {
        if (entry.item)
            entry.item->setVisible(isRowShown(entry.ssid));
    }

    if (connected && named) {
        if (m_curNameText) {
            m_curNameText->setText(getSsidFromCurWifi(ssid));
            m_curNameText->setVisible(true);
        }
        updateSignalStrength();
        return;
    }

    // No connection any more: every nearby network can be chosen again.
    if (m_curNameText) {
        m_curNameText->setVisible(false);
        m_curNameText->setText(QString());
    }
}

void CardWifi::updateSignalStrength()
{
    if (!m_curSignalIcon)
        return;
    const int strength = panel().currentWifiSignalStrength();
    if (strength < 1)
        return;
    m_curSignalIcon->setSource(signalIcon(strength));
}

bool CardWifi::isConnected()
{
    return panel().isWifiConnected();
}

QString CardWifi::getSsid()
{
    return isConnected() ? getSsidFromCurWifi(panel().currentWifiSsid()) : QString();
}

QString CardWifi::getSsidFromScan(const HMI::SSID &ssid)
{
    return ssidText(ssid);
}

QString CardWifi::getSsidFromCurWifi(const HMI::SSID &ssid)
{
    return ssidText(ssid);
}

CardWifi::WIFI_INFO *CardWifi::findWifiBySsid(const HMI::SSID &ssid)
{
    for (WIFI_INFO &entry : m_wifiList) {
        if (entry.ssid == ssid)
            return &entry;
    }
    return nullptr;
}

CardWifi::WIFI_INFO *CardWifi::findWifiByCurrentSsid()
{
    HMI::SSID ssid = panel().currentWifiSsid();
    ssid[32] = 0; // as in the list: a 32-byte name has no terminator of its own
    return findWifiBySsid(ssid);
}

void CardWifi::onWifiReset()
{
    if (m_curNameText) {
        m_curNameText->setText(QString());
        m_curNameText->setVisible(false);
    }
    clearWifiList();
    m_selectedStrength = 0;
    // A reset asked for during a scan only clears: the scan's result fills the list again.
    if (m_cardState == Scanning)
        return;
    setState(Scanning);
    panel().resetWifi(scanResultTo(this));
}

// ---- Connecting and the password dialog ----

void CardWifi::onClickWifiItem(int index)
{
    if (index < 0 || index >= m_wifiList.size())
        return;
    const WIFI_INFO entry = m_wifiList.at(index);
    m_selectedSsid = entry.ssid;
    m_selectedStrength = entry.strength;
    openPwDialog();
    // A known password, or none needed: connect at once; otherwise the user types it first.
    if (entry.needPassword && entry.password.isEmpty())
        return;
    connectWifi(entry.ssid, entry.password);
}

void CardWifi::openPwDialog()
{
    if (!m_dialog)
        addDialog();
    if (!m_dialog)
        return;
    QQuickItem *body = m_dialog->bodyItem();

    if (m_cardState == Connecting) {
        m_dialog->setTitle(getSsidFromCurWifi(panel().currentWifiSsid()));
        if (body)
            body->setVisible(false);
        placeDialogMessage();
        m_dialog->open();
        return;
    }

    const WIFI_INFO *entry = findWifiBySsid(m_selectedSsid);
    if (!entry)
        return;
    m_dialog->setTitle(getSsidFromScan(entry->ssid));
    if (body)
        body->setVisible(true);
    placeDialogMessage();
    setDialogMessage(QT_TRANSLATE_NOOP("CardWifi", "Enter password"), Qt::black);
    m_dialog->open();
}

QFont CardWifi::dialogFont() const
{
    QFont font;
    font.setPixelSize(qMax(1, int(m_fontSize * 0.8)));
    return font;
}

void CardWifi::setDialogMessage(const char *source, const QColor &color)
{
    if (!m_dialogMessage)
        return;
    m_dialogMessageSource = source;
    m_dialogMessage->setColor(color);
    m_dialogMessage->setText(translated(source));
}

void CardWifi::placeDialogMessage()
{
    if (!m_dialog || !m_dialogMessage)
        return;
    const qreal w = m_dialog->width();
    const qreal h = m_dialog->height();
    if (m_cardState != Connecting) {
        m_dialogMessage->setParentItem(m_dialog->bodyItem());
        m_dialogMessage->setPosition(QPointF(w * 79 / DESIGN_W, h * 28 / DESIGN_H));
        return;
    }
    // "Connecting" and the spinner beside it, centred in the whole dialog while the body is hidden.
    setDialogMessage(QT_TRANSLATE_NOOP("CardWifi", "Connecting"), FOCUS_BLUE);
    QQuickItem *content = m_dialog->contentItem();
    m_dialogMessage->setParentItem(content);
    const qreal spinnerWidth = m_spinner ? m_spinner->width() : 0;
    m_dialogMessage->setX((content->width() - m_dialogMessage->width() - spinnerWidth - 12) / 2);
    m_dialogMessage->setY((content->height() - m_dialogMessage->height()) / 2);
}

void CardWifi::addDialog()
{
    if (m_dialog)
        return;
    const GlobalInfo &info = GlobalInfo::instance();
    auto *dialog = new Dialog(this);
    if (QQmlEngine *engine = info.qmlEngine())
        QQmlEngine::setContextForObject(dialog, engine->rootContext());
    dialog->setEnableCloseButton(true);
    dialog->setModal(true);
    dialog->setClosePolicy(QQuickPopup::ClosePolicy());

    qreal w = DESIGN_W;
    qreal h = DESIGN_H;
    if (!info.isScreenPortrait()) {
        const QSize screen = info.screenSize();
        w = 0.416015625 * (info.isNativePortrait() ? screen.height() : screen.width());
        h = w * DESIGN_H / DESIGN_W;
    }
    dialog->setWidth(w);
    dialog->setHeight(h);
    if (AppRootItem *root = AppRootItem::instance()) {
        dialog->setParentItem(root);
        dialog->setX((root->width() - w) / 2);
        dialog->setY((root->height() - h) / 2);
    }

    auto *body = new QQuickItem(this);
    dialog->setBodyItem(body);
    m_dialog = dialog;

    // The message: "Enter password", an outcome in red, or "Connecting" centred beside the spinner.
    m_dialogMessage = newPlainText(body);
    m_dialogMessage->setFont(dialogFont());
    m_dialogMessage->setPosition(QPointF(w * 79 / DESIGN_W, h * 28 / DESIGN_H));
    setMultilingualText(m_dialogMessage, [this] {
        return m_dialogMessageSource ? translated(m_dialogMessageSource) : QString();
    });
    connect(this, &CardWifi::cardStateChanged, m_dialogMessage, [this] { placeDialogMessage(); });
    connect(m_dialogMessage, &QQuickItem::widthChanged, this, [this] {
        if (m_cardState == Connecting)
            placeDialogMessage();
    });

    // Password field.
    auto *frame = new QQuickRectangle(body);
    frame->setX(qRound(w / 6));
    frame->setY(qRound(h * 60 / DESIGN_H));
    frame->setWidth(qRound(w * 285 / DESIGN_W));
    const int frameHeight = qRound(h * 34 / DESIGN_H);
    frame->setHeight(frameHeight);
    frame->setRadius(qRound(frameHeight * 4.0 / 17));
    frame->border()->setWidth(1);
    frame->border()->setColor(FRAME_BORDER);

    m_passwordInput = new QQuickTextInput(frame);
    QQuickAnchors *inputAnchors = anchorsOf(m_passwordInput);
    inputAnchors->setFill(frame);
    inputAnchors->setLeftMargin(frameHeight * 4.0 / 17);
    inputAnchors->setRightMargin(frameHeight * 4.0 / 17);
    m_passwordInput->setFont(dialogFont());
    m_passwordInput->setVAlign(QQuickTextInput::AlignVCenter);
    m_passwordInput->setHAlign(QQuickTextInput::AlignLeft);
    m_passwordInput->setEchoMode(QQuickTextInput::Password);
    m_passwordInput->setClip(true);
    auto *keyFilter = new KeyPressFilter(m_passwordInput);
    keyFilter->setParent(m_passwordInput);
    m_passwordInput->installEventFilter(keyFilter);
    connect(m_passwordInput, &QQuickItem::activeFocusChanged, this, [](bool focused) {
        VkbManager &vkb = VkbManager::instance();
        vkb.showVkb(focused);
        if (!focused)
            return;
        if (vkb.isVisible()) // a layout can only be chosen on a keyboard that is there
            vkb.setLayoutType(VkbLayout_Full);
        BeepButton::beepIfOn();
    });

    // "Show Password": a check box that shows the password in clear.
    auto *showPassword = new BeepButton(body);
    showPassword->setAutoCloseVkb(false);
    showPassword->setFocusPolicy(Qt::NoFocus);
    showPassword->setClip(true);
    showPassword->setCheckable(true);
    const int showX = qRound(w * 79 / DESIGN_W);
    showPassword->setX(showX);
    showPassword->setY(qRound(h * 105 / DESIGN_H));
    showPassword->setWidth(qRound(w - 2 * showX));
    showPassword->setHeight(qRound(h * 20 / DESIGN_H));

    auto *box = new QQuickRectangle(showPassword);
    const int boxSide = qRound(showPassword->height());
    box->setSize(QSizeF(boxSide, boxSide));
    box->border()->setWidth(2);
    box->border()->setColor(FRAME_BORDER);
    auto *tick = new QQuickImage(box);
    tick->setSource(QUrl(QStringLiteral("qrc:/setting/icons/tickGray.png")));
    tick->setSourceSize(QSize(24, 24));
    anchorsOf(tick)->setFill(box);
    anchorsOf(tick)->setMargins(4);
    tick->setVisible(false);

    auto *showText = newPlainText(showPassword);
    showText->setFont(dialogFont());
    showText->setX(qRound(box->width() * 1.2));
    centreVertically(showText, showPassword);
    setMultilingualText(showText, [] { return translated("Show Password"); });

    connect(showPassword, &QQuickAbstractButton::checkedChanged, this, [this, showPassword, box, tick] {
        const bool checked = showPassword->isChecked();
        m_passwordInput->setEchoMode(checked ? QQuickTextInput::Normal : QQuickTextInput::Password);
        box->border()->setWidth(checked ? 0 : 2);
        box->border()->setColor(FRAME_BORDER);
        box->setColor(checked ? CHECKED_BOX : QColor(Qt::white));
        tick->setVisible(checked);
    });

    // "Connect".
    auto *connectButton = new BeepButton(body);
    connectButton->setAutoCloseVkb(false);
    connectButton->setFocusPolicy(Qt::NoFocus);
    connectButton->setY(h * 140 / DESIGN_H);
    connectButton->setHeight(h * 32 / DESIGN_H);
    connectButton->setWidth(w * 152 / DESIGN_W);
    anchorsOf(connectButton)->setHorizontalCenter(QQuickItemPrivate::get(body)->horizontalCenter());
    auto *connectBackground = new QQuickRectangle(connectButton);
    connectBackground->setRadius(4);
    connectBackground->setColor(ACCENT_BLUE);
    connectButton->setBackground(connectBackground);
    auto *connectText = newPlainText(connectButton);
    connectText->setFont(dialogFont());
    connectText->setColor(Qt::white);
    anchorsOf(connectText)->setCenterIn(connectButton);
    setMultilingualText(connectText, [] { return translated("Connect"); });
    connect(connectButton, &QQuickAbstractButton::clicked, this, &CardWifi::onClickConFirm);

    connect(&VkbManager::instance(), &VkbManager::visibleChanged, this, &CardWifi::adjustPwDialog);
    connect(dialog, &QQuickPopup::closed, m_passwordInput,
            [input = m_passwordInput] { input->setText(QString()); });
}

void CardWifi::adjustPwDialog()
{
    AppRootItem *root = AppRootItem::instance();
    if (!m_dialog || !root)
        return;
    VkbManager &vkb = VkbManager::instance();
    const qreal rootHeight = root->height();
    const qreal dialogHeight = m_dialog->height();
    if (vkb.isVisible()) {
        const int y = int((rootHeight - vkb.getHeight() - dialogHeight) / 2);
        m_dialog->setY(y < 0 ? 25 : y);
    } else {
        m_dialog->setY(int((rootHeight - dialogHeight) / 2));
    }
}

void CardWifi::onClickConFirm()
{
    if (m_passwordInput)
        m_passwordInput->setFocus(false);
    WIFI_INFO *entry = findWifiBySsid(m_selectedSsid);
    if (!entry)
        return;
    entry->password = m_passwordInput ? m_passwordInput->text() : QString();
    connectWifi(entry->ssid, entry->password);
}

void CardWifi::connectWifi(HMI::SSID wifiname, QString password)
{
    const QByteArray utf8 = password.toUtf8();
    setState(Connecting);
    if (m_dialog && m_dialog->bodyItem())
        m_dialog->bodyItem()->setVisible(false);
    setNetworkCardConnecting(true);
    m_connectWatchdog.start();
    panel().connectWifi(terminated(wifiname), std::string(utf8.constData(), size_t(utf8.size())),
                        onGuiThread(this, [](CardWifi *card, HMI::SystemSet::StateWifi result) {
                            card->onConnectResult(result);
                        }));
}

void CardWifi::onConnectResult(HMI::SystemSet::StateWifi result)
{
    QQuickItem *body = m_dialog ? m_dialog->bodyItem() : nullptr;
    // A final outcome ends the attempt, also one that comes after the watchdog gave up on it.
    const auto ended = [this] {
        m_connectWatchdog.stop();
        setNetworkCardConnecting(false);
    };
    // A failed attempt brings the password field back with the password still in it.
    const auto failed = [this, body, ended](const char *message) {
        setState(Idle);
        if (body)
            body->setVisible(true);
        setDialogMessage(message, Qt::red);
        ended();
    };

    switch (result) {
    case HMI::SystemSet::WIFI_OFFLINE:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Wi-Fi Offline"));
        m_selectedStrength = 0;
        scanWifi();
        break;
    case HMI::SystemSet::WIFI_CONNECTING:
        setState(Connecting);
        // Also after the end of the attempt: that end is awaited again.
        if (!m_connectWatchdog.isActive())
            m_connectWatchdog.start();
        break;
    case HMI::SystemSet::WIFI_CONNECTED:
        setState(Online);
        if (const WIFI_INFO *entry = findWifiByCurrentSsid())
            m_selectedStrength = entry->strength;
        update_afterOnLine();
        ended();
        break;
    case HMI::SystemSet::WIFI_TIMEOUT:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Time out"));
        break;
    case HMI::SystemSet::WIFI_WRONG_PASSWORD:
        failed(QT_TRANSLATE_NOOP("CardWifi", "Wrong password"));
        break;
    default: // reports this card does not know leave everything as it is; the watchdog ends the attempt
        break;
    }
}

void CardWifi::update_afterOnLine()
{
    if (panel().getIp(HMI::SystemSet::NIC_WIFI) != 0)
        closeDialog_and_updateCurWifiInfo();
    else
        setDhcpAndUpdateCurWifi();
}

void CardWifi::setDhcpAndUpdateCurWifi()
{
    // Whatever DHCP reports, the connection stands: the dialog closes and the rows refresh.
    panel().setDHCP(
        HMI::SystemSet::NIC_WIFI, true,
        onGuiThread(this, [](CardWifi *card,
                             HMI::SystemSet::DHCP_STATE) { card->closeDialog_and_updateCurWifiInfo(); }),
        true);
}

void CardWifi::closeDialog_and_updateCurWifiInfo()
{
    if (m_dialog)
        m_dialog->close();
    Q_EMIT connectedChanged(true);
    updateCurrentWifi();
    CardNetwork *network = networkCard();
    if (network && isConnected()) {
        network->updateSwitchDisplay_static(HMI::SystemSet::NIC_WIFI);
        network->updateNetInfoDisplay(HMI::SystemSet::NIC_WIFI);
    }
}

} // namespace QSP
