// Diagnostics of the ELF layer become numbered messages; each text is shown once for a program file.
#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
#include "program/elf/elf.h"
#include "program/tables/progtables.h"

#include <QSet>

namespace {

constexpr int MSG_INDEX_NO_FRAME_INFO = 45;
constexpr qsizetype MAX_MESSAGES = 500; ///< of one load
constexpr const char* TOO_MANY = "further messages about the program file are left out";

struct CODE_RANGE {
    U32 First, Last;
    int Index;
};
/// Diagnostic numbers to ids of the message table.
constexpr CODE_RANGE CODE_RANGES[] = {{1, 23, 0}, {24, 34, 38}, {100, 117, 49}, {118, 128, 23}, {133, 133, 34}};

int MessageIndex(U32 Code)
{
    for (const CODE_RANGE& Range : CODE_RANGES) {
        if (Code >= Range.First && Code <= Range.Last) return Range.Index + static_cast<int>(Code - Range.First);
    }
    return -1;
}

/// Paths in arguments are shortened to their last part.
const char* ArgText(const ELF_DIAG& Diag, U32 Index)
{
    const char* sArg = Index < Diag.NumArgs ? Diag.asArg[Index] : nullptr;
    if (!sArg) return "?";
    const char* sLast = sArg;
    for (const char* p = sArg; *p; p++) {
        if ((*p == '/' || *p == '\\') && p[1]) sLast = p + 1;
    }
    return sLast;
}

/// True the first time that a text comes for the present file.
bool IsNew(const QString& sText)
{
    static QSet<U32> s_Shown;
    static U64 s_ShownFor = 0;
    const U64 Time = ELF_GetOpenTime(ELF_GetCurrentFile());
    // While a file is being opened there is no current file: its messages stay in the set until it is.
    if (Time && s_ShownFor && Time != s_ShownFor) s_Shown.clear();
    if (Time) s_ShownFor = Time;
    U32 Hash = 5381;
    for (const QChar c : sText) Hash = Hash * 33 + c.unicode();
    if (s_Shown.contains(Hash)) return false;
    s_Shown.insert(Hash);
    return true;
}

} // namespace

thread_local QList<PROG_MESSAGE>* g_paHeldMessages = nullptr;

void ProgLogMessage(const PROG_MESSAGE& Message)
{
    if (g_paHeldMessages) {
        // A damaged program has the same to say about each of its symbols, or something else about each.
        const qsizetype Count = g_paHeldMessages->size();
        if (Count > MAX_MESSAGES || g_paHeldMessages->contains(Message)) return;
        if (Count < MAX_MESSAGES) g_paHeldMessages->append(Message);
        else g_paHeldMessages->append({QLatin1String(TOO_MANY), MSG_WARNING | MSG_ALL, false});
        return;
    }
    if (IsMainThread() && !Message.Always && !IsNew(Message.sText)) return;
    Log(Message.sText, Message.Flags);
}

void ProgDiag(const ELF_DIAG* pDiag)
{
    QString sText;
    U32 Flags = pDiag->Flags;
    if (pDiag->sText) {
        sText = QString::fromUtf8(pDiag->sText);
    } else {
        const int Index = MessageIndex(pDiag->Code);
        const MESSAGE_ROW* pRow = Index >= 0 ? GetMessageRow(Index) : nullptr;
        if (!pRow) return;
        InitMessageTable();
        char acText[512];
        if (Index == MSG_INDEX_NO_FRAME_INFO) {
            FormatMessage(Index, acText, sizeof(acText), pDiag->NumArgs ? static_cast<unsigned>(strtoul(pDiag->asArg[0], nullptr, 0)) : 0u);
        } else {
            FormatMessage(Index, acText, sizeof(acText), ArgText(*pDiag, 0), ArgText(*pDiag, 1), ArgText(*pDiag, 2), ArgText(*pDiag, 3));
        }
        sText = QString::fromUtf8(acText);
        Flags = pRow->Flags;
    }
    // Texts of an open that failed come again at the next attempt: the user has asked again.
    ProgLogMessage({sText, Flags, pDiag->Code >= ELF_ERR_MAGIC});
}
