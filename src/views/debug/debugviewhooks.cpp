#include "views/debug/debugviewhooks.h"

#include <QFileInfo>
#include <QHash>

namespace {
DEBUG_VIEW_HOOKS& Hooks()
{
    static DEBUG_VIEW_HOOKS s_Hooks;
    return s_Hooks;
}
constexpr U32 NO_FILE = 0xFFFFFFFFu;
} // namespace

void SetDebugViewHooks(const DEBUG_VIEW_HOOKS& NewHooks) { Hooks() = NewHooks; }
const DEBUG_VIEW_HOOKS& GetDebugViewHooks() { return Hooks(); }

U32 GetViewFileNo(const QString& sPath)
{
    const U32 FileNo = AskHook(Hooks().GetFileNo, NO_FILE, sPath);
    if (FileNo != NO_FILE) return FileNo;
    U32 Hash = 0x811C9DC5u;
    for (const char Byte : sPath.toUtf8()) Hash = (Hash ^ U8(Byte)) * 0x01000193u;
    return Hash == 0 || Hash == NO_FILE ? 1 : Hash;
}

QString GetViewSrcLocText(const CSrcLoc& Loc)
{
    const QString sText = AskHook(Hooks().GetSrcLocText, QString(), Loc);
    if (!sText.isEmpty()) return sText;
    const QString sPath = AskHook(Hooks().GetFilePath, QString(), Loc.File);
    return sPath.isEmpty() ? QString() : QStringLiteral("%1:%2").arg(QFileInfo(sPath).fileName()).arg(Loc.Line);
}

QString FormatAddr(U32 Addr, bool WithPrefix)
{
    const QString sDigits = QString::number(Addr, 16).toUpper().rightJustified(8, u'0');
    return WithPrefix ? QStringLiteral("0x") + sDigits : sDigits;
}
