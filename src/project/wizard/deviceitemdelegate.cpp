#include "project/wizard/deviceitemdelegate.h"

#include "project/wizard/devicedatamodel.h"
#include "project/settings/settingids.h"
#include "views/theme/theme.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>

CDeviceItemDelegate::CDeviceItemDelegate(const CDeviceDataModel* pModel, QObject* pParent)
    : QItemDelegate(pParent), m_pModel(pModel)
{
}

QWidget* CDeviceItemDelegate::createEditor(QWidget* pParent, const QStyleOptionViewItem&, const QModelIndex& Index) const
{
    auto* pDelegate = const_cast<CDeviceItemDelegate*>(this);
    const QStringList Values = m_pModel->GetValueList(Index.column());
    const QString sName = Index.model()->headerData(Index.column(), Qt::Horizontal).toString();
    if (Values.isEmpty()) {
        auto* pEdit = new QLineEdit(pParent);
        pEdit->setAccessibleName(QStringLiteral("Filter ") + sName);
        connect(pEdit, &QLineEdit::textEdited, pDelegate, [pDelegate, pEdit] { emit pDelegate->commitData(pEdit); });
        return pEdit;
    }
    auto* pBox = new QComboBox(pParent);
    pBox->setAccessibleName(QStringLiteral("Filter ") + sName);
    pBox->setEditable(true);
    pBox->setInsertPolicy(QComboBox::NoInsert);
    pBox->addItem(QStringLiteral("*"));
    pBox->addItems(Values);
    connect(pBox, &QComboBox::editTextChanged, pDelegate, [pDelegate, pBox] { emit pDelegate->commitData(pBox); });
    return pBox;
}

void CDeviceItemDelegate::setEditorData(QWidget* pEditor, const QModelIndex& Index) const
{
    const QString sText = Index.data(Qt::EditRole).toString();
    if (auto* pBox = qobject_cast<QComboBox*>(pEditor)) {
        if (!pBox->lineEdit()->hasFocus() && pBox->currentText() != sText) pBox->setEditText(sText);
    } else if (auto* pEdit = qobject_cast<QLineEdit*>(pEditor); pEdit && !pEdit->hasFocus()) {
        pEdit->setText(sText);
    }
}

void CDeviceItemDelegate::setModelData(QWidget* pEditor, QAbstractItemModel* pModel, const QModelIndex& Index) const
{
    if (auto* pBox = qobject_cast<QComboBox*>(pEditor))
        pModel->setData(Index, pBox->currentText());
    else if (auto* pEdit = qobject_cast<QLineEdit*>(pEditor))
        pModel->setData(Index, pEdit->text());
}

void CDeviceItemDelegate::updateEditorGeometry(QWidget* pEditor, const QStyleOptionViewItem& Option,
                                               const QModelIndex&) const
{
    pEditor->setGeometry(Option.rect);
}

bool CDeviceItemDelegate::eventFilter(QObject* pEditor, QEvent* pEvent)
{
    // The editors stay open, so that the base would hand the focus round in the row and never out of it.
    if (pEvent->type() == QEvent::KeyPress) {
        const int Key = static_cast<QKeyEvent*>(pEvent)->key();
        if (Key == Qt::Key_Tab || Key == Qt::Key_Backtab) return false;
    }
    return QItemDelegate::eventFilter(pEditor, pEvent);
}

void CDeviceItemDelegate::paint(QPainter* pPainter, const QStyleOptionViewItem& Option, const QModelIndex& Index) const
{
    // The selection keeps its colours while the filter row has the focus: it is what "OK" takes.
    QStyleOptionViewItem Shown = Option;
    for (const auto Group : {QPalette::Active, QPalette::Inactive}) {
        Shown.palette.setColor(Group, QPalette::Highlight, Option.palette.color(QPalette::Active, QPalette::Highlight));
        Shown.palette.setColor(Group, QPalette::HighlightedText, CTheme::GetColor(COLOR_SELECTION_HIGHLIGHT_TEXT));
    }
    QItemDelegate::paint(pPainter, Shown, Index);
}

#include "moc_deviceitemdelegate.cpp"
