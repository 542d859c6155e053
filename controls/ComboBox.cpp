#include "controls/ComboBox.h"

#include "controls/BeepButton.h"
#include "shell/AppRootItem.h"
#include "shell/ComponentCache.h"
#include "shell/GlobalInfo.h"
#include "shell/Palette.h"
#include "shell/QmlTypes.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QtQuick/private/qquickanchors_p.h>
#include <QtQuick/private/qquickimage_p.h>
#include <QtQuick/private/qquickitem_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuickTemplates2/private/qquickcombobox_p.h>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

namespace QSP {

namespace {

const QColor FIELD_BORDER(Palette::FieldBorder);
const QColor OPEN_BORDER(QLatin1String("#6EA2E2"));

/// The compiled documents, shared by every combo box. They belong to the engine they were compiled for, so
/// they live as long as it does (the host's engine: the whole process).
ComponentCache &comboBoxComponent()
{
    static ComponentCache cache(QUrl(QStringLiteral("qrc:/setting/controls/InnerComboBox.qml")), nullptr,
                                QStringLiteral("QSP::ComboBox: "));
    return cache;
}

ComponentCache &delegateComponent()
{
    static ComponentCache cache(QUrl(QStringLiteral("qrc:/setting/controls/ComboBoxRow.qml")), nullptr,
                                QStringLiteral("QSP::ComboBox: "));
    return cache;
}

} // namespace

void ComboBox::prepare(QQmlEngine *engine)
{
    comboBoxComponent().component(engine);
    delegateComponent().component(engine);
}

ComboBox::ComboBox(QQuickItem *parent)
    : QQuickItem(parent)
{
    createInnerComboBox();
}

ComboBox::~ComboBox()
{
    // The inner combo box and its popup go after this object; they must not call back into it.
    if (m_popup)
        m_popup->disconnect(this);
    if (m_comboBox)
        m_comboBox->disconnect(this);
}

void ComboBox::createInnerComboBox()
{
    QQmlEngine *engine = GlobalInfo::instance().qmlEngine();
    if (!engine) {
        static bool reported = false;
        if (!reported) {
            reported = true;
            qWarning("QSP::ComboBox: no QML engine has been set; the combo box stays empty");
        }
        return;
    }

    auto *combo = static_cast<QQuickComboBox *>(
        comboBoxComponent().createItem(engine, this, QQuickComboBox::staticMetaObject));
    if (!combo)
        return; // reported once
    m_comboBox = combo;
    if (QQmlComponent *delegate = delegateComponent().component(engine))
        combo->setDelegate(delegate);
    QQuickItemPrivate::get(combo)->anchors()->setFill(this);

    m_fieldBackground = new QQuickRectangle(combo);
    m_fieldBackground->setColor(Qt::white);
    m_fieldBackground->border()->setWidth(1);
    m_fieldBackground->border()->setColor(FIELD_BORDER);
    combo->setBackground(m_fieldBackground);

    m_popup = combo->popup();
    if (m_popup) {
        m_listBackground = new QQuickRectangle;
        m_listBackground->setParent(m_popup);
        m_listBackground->setColor(Qt::white);
        m_listBackground->border()->setWidth(1);
        m_listBackground->border()->setColor(OPEN_BORDER);
        m_popup->setBackground(m_listBackground);
        m_popup->setPadding(1);
        m_popup->setZ(GlobalInfo::instance().rootPopupZ());
    }

    m_indicator = qobject_cast<QQuickImage *>(combo->indicator()); // InnerComboBox.qml's
    if (QQuickItem *content = combo->contentItem(); content && m_indicator) {
        QQuickAnchors *anchors = QQuickItemPrivate::get(m_indicator)->anchors();
        anchors->setVerticalCenter(QQuickItemPrivate::get(content)->verticalCenter());
        anchors->setRight(QQuickItemPrivate::get(content)->right());
    }

    if (AppRootItem *root = AppRootItem::instance()) {
        connect(root, &QQuickItem::visibleChanged, this, [this, root] {
            if (!root->isVisible() && m_popup)
                m_popup->close();
        });
    }
    m_currentIndexRelay =
        connect(combo, &QQuickComboBox::currentIndexChanged, this, &ComboBox::currentIndexChanged);
    connect(combo, &QQuickComboBox::activated, this, [this](int index) {
        BeepButton::beepIfOn();
        Q_EMIT activated(index);
    });
    if (m_popup)
        connect(m_popup, &QQuickPopup::openedChanged, this, &ComboBox::updateBorders);
    connect(combo, &QQuickItem::heightChanged, this, &ComboBox::updateSizes);
    connect(combo, &QQuickComboBox::pressedChanged, this, [this] {
        if (m_comboBox->isPressed())
            BeepButton::beepIfOn();
    });

    combo->setProperty("fontPixelSize", m_fontPixelSize);
    updateSizes();
}

int ComboBox::currentIndex() const
{
    return m_comboBox ? m_comboBox->currentIndex() : -1;
}

void ComboBox::setCurrentIndex(int index)
{
    if (m_comboBox)
        m_comboBox->setCurrentIndex(index);
}

QVariant ComboBox::model() const
{
    return m_comboBox ? m_comboBox->model() : QVariant();
}

void ComboBox::setModel(const QVariant &model)
{
    if (!m_comboBox)
        return;
    // A new model resets the inner index; the position chosen before is asked for again when the new model
    // still has it (otherwise nothing is chosen), and the reset in between is not reported.
    disconnect(m_currentIndexRelay);
    const int index = m_comboBox->currentIndex();
    m_comboBox->setModel(model);
    const int count = m_comboBox->count();
    m_comboBox->setCurrentIndex(index < count ? index : -1);
    m_currentIndexRelay =
        connect(m_comboBox, &QQuickComboBox::currentIndexChanged, this, &ComboBox::currentIndexChanged);
    m_comboBox->setTextRole(QStringLiteral("name"));
    Q_EMIT modelChanged();
    // Should the inner combo box not have kept that index, the change is a real one.
    if (m_comboBox->currentIndex() != index)
        Q_EMIT currentIndexChanged();
}

void ComboBox::setStringListModel(const QStringList &names)
{
    QVariantList rows;
    rows.reserve(names.size());
    for (const QString &name : names)
        rows.append(QVariantMap{{QStringLiteral("name"), name}});
    setModel(rows);
}

void ComboBox::setFontPixelSize(int size)
{
    if (size <= 0) {
        qWarning("QSP::ComboBox: ignoring font pixel size %d, keeping %d", size, m_fontPixelSize);
        return;
    }
    if (size == m_fontPixelSize)
        return;
    m_fontPixelSize = size;
    if (m_comboBox)
        m_comboBox->setProperty("fontPixelSize", size);
    Q_EMIT fontPixelSizeChanged();
}

void ComboBox::updateBorders()
{
    const bool open = m_popup && m_popup->isOpened();
    // The field turns blue while its list is open.
    if (m_fieldBackground)
        m_fieldBackground->border()->setColor(open ? OPEN_BORDER : FIELD_BORDER);
    if (m_listBackground)
        m_listBackground->border()->setColor(OPEN_BORDER);
}

void ComboBox::updateSizes()
{
    const qreal h = m_comboBox->height();
    m_fieldBackground->setRadius(h * 0.125);
    if (m_listBackground)
        m_listBackground->setRadius(h * 0.125);
    if (m_indicator) {
        const int side = int(h * 0.347);
        m_indicator->setSourceSize(QSize(side, side));
        QQuickItemPrivate::get(m_indicator)->anchors()->setRightMargin(h * 0.25);
    }
}

void ComboBox::registerType()
{
    registerQmlType<ComboBox>("ComboBox");
}

} // namespace QSP
