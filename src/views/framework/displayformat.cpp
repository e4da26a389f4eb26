#include "views/framework/displayformat.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <algorithm>

namespace {
const DISPLAY_FORMAT_ROW* FindRow(int Format)
{
    const auto it = std::find_if(aDisplayFormats.begin(), aDisplayFormats.end(),
                                 [Format](const DISPLAY_FORMAT_ROW& Row) { return Row.Format == Format; });
    return it == aDisplayFormats.end() ? nullptr : &*it;
}
} // namespace

QString GetDisplayFormatName(int Format)
{
    const DISPLAY_FORMAT_ROW* pRow = FindRow(Format);
    return pRow ? QString::fromLatin1(pRow->sName) : QString();
}

int FindDisplayFormat(const QString& sName)
{
    QString sPlain = sName.trimmed();
    sPlain.remove(u'"');
    for (const DISPLAY_FORMAT_ROW& Row : aDisplayFormats)
        if (sPlain.compare(QLatin1String(Row.sName), Qt::CaseInsensitive) == 0) return Row.Format;
    return -1;
}

QString FormatValue(U64 Value, int Format, int NumDigits)
{
    switch (Format) {
    case DISPLAY_FORMAT_BINARY:
        return QStringLiteral("0b") + QString::number(Value, 2).rightJustified(NumDigits, u'0');
    case DISPLAY_FORMAT_DEC:
        return QString::number(Value);
    case DISPLAY_FORMAT_CHAR:
        return Value >= 0x20 && Value < 0x7F ? QStringLiteral("'%1'").arg(QChar(ushort(Value)))
                                             : QString::number(Value);
    default:
        return QStringLiteral("0x") + QString::number(Value, 16).toUpper().rightJustified(NumDigits, u'0');
    }
}

CDisplayFormatActions::CDisplayFormatActions(QObject* pParent)
{
    auto* pGroup = new QActionGroup(pParent);
    pGroup->setExclusive(true);
    for (size_t i = 0; i < aDisplayFormats.size(); i++) {
        const DISPLAY_FORMAT_ROW& Row = aDisplayFormats[i];
        auto* pAction = new QAction(QString::fromLatin1(Row.sText), pParent);
        pAction->setObjectName(QLatin1String(Row.sObjectName));
        pAction->setCheckable(true);
        pAction->setShortcut(QKeySequence(QLatin1String(Row.sShortcut)));
        pAction->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        pAction->setStatusTip(QString::fromLatin1(Row.sStatusTip));
        pGroup->addAction(pAction);
        m_aActions[i] = pAction;
    }
    SetChecked(DISPLAY_FORMAT_AUTO);
}

QAction* CDisplayFormatActions::GetAction(int Format) const
{
    for (size_t i = 0; i < aDisplayFormats.size(); i++)
        if (aDisplayFormats[i].Format == Format) return m_aActions[i];
    return nullptr;
}

int CDisplayFormatActions::GetFormat(const QAction* pAction) const
{
    for (size_t i = 0; i < aDisplayFormats.size(); i++)
        if (m_aActions[i] == pAction) return aDisplayFormats[i].Format;
    return -1;
}

void CDisplayFormatActions::SetChecked(int Format)
{
    if (QAction* pAction = GetAction(Format)) pAction->setChecked(true);
}

void CDisplayFormatActions::AddMenu(QMenu* pMenu) const
{
    QMenu* pSubMenu = pMenu->addMenu(QStringLiteral("Display &All As"));
    for (QAction* pAction : m_aActions) pSubMenu->addAction(pAction);
}
