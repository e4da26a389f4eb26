#include "app/services/messages.h"

#include "app/services/log.h"
#include "app/services/messagetable.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

namespace {
constexpr char REFERENCE[] = "Refer to the user guide and application logfile for further information";

MESSAGE_ROW BuildRow(const MESSAGE_DEF& Def)
{
    MESSAGE_ROW Row{};
    Row.ID = Def.ID;
    Row.Flags = Def.Flags;
    Row.Base = Def.Base;
    Row.Text = Def.Text;
    Row.Code = Def.ID + Def.Base;
    for (const char* p = Def.Text; *p; p++) Row.NumArgs += *p == '%';
    if (Def.Flags & MSG_INFO) {
        std::snprintf(Row.Format, sizeof(Row.Format), "%s.", Def.Text);
        return Row;
    }
    const char* sGroup = Def.Base == MSG_BASE_ELF ? "ELF " : Def.Base == MSG_BASE_PROJECT ? "Project " : "";
    const char* sLevel = Def.Flags & MSG_WARNING ? "warning" : Def.Flags & MSG_ERROR ? "error" : "";
    std::snprintf(Row.Format, sizeof(Row.Format), "%s%s (%u): %s.", sGroup, sLevel, unsigned(Row.Code),
                  Def.Text);
    return Row;
}

const std::array<MESSAGE_ROW, NUM_MESSAGES>& Table()
{
    static const std::array<MESSAGE_ROW, NUM_MESSAGES> Rows = [] {
        std::array<MESSAGE_ROW, NUM_MESSAGES> a{};
        for (int i = 0; i < NUM_MESSAGES; i++) a[size_t(i)] = BuildRow(MESSAGE_TABLE[i]);
        return a;
    }();
    return Rows;
}

std::string FormatV(int Id, va_list Args)
{
    const MESSAGE_ROW* pRow = GetMessageRow(Id);
    if (!pRow) return {};
    va_list Copy;
    va_copy(Copy, Args);
    const int n = std::vsnprintf(nullptr, 0, pRow->Format, Copy);
    va_end(Copy);
    if (n <= 0) return {};
    std::string s(size_t(n), '\0');
    std::vsnprintf(s.data(), s.size() + 1, pRow->Format, Args);
    return s;
}

int CopyText(const std::string& s, char* pBuffer, std::size_t Size)
{
    if (!pBuffer || Size == 0) return 0;
    const int n = std::snprintf(pBuffer, Size, "%s", s.c_str());
    return n < int(Size) ? n : int(Size) - 1;
}
} // namespace

void InitMessageTable()
{
    Table();
}

const MESSAGE_ROW* GetMessageRow(int Id)
{
    if (Id < 0 || Id >= NUM_MESSAGES) return nullptr;
    const MESSAGE_ROW& Row = Table()[size_t(Id)];
    return Row.ID == Id ? &Row : nullptr;
}

int FormatMessage(int Id, char* pBuffer, std::size_t Size, ...)
{
    va_list Args;
    va_start(Args, Size);
    const std::string s = FormatV(Id, Args);
    va_end(Args);
    return CopyText(s, pBuffer, Size);
}

int FormatMessageRef(int Id, char* pBuffer, std::size_t Size, ...)
{
    va_list Args;
    va_start(Args, Size);
    const std::string s = FormatV(Id, Args);
    va_end(Args);
    return CopyText(s.empty() ? s : s + ". " + REFERENCE + ".", pBuffer, Size);
}

int LogMessage(int Id, ...)
{
    va_list Args;
    va_start(Args, Id);
    const std::string s = FormatV(Id, Args);
    va_end(Args);
    const MESSAGE_ROW* pRow = GetMessageRow(Id);
    return pRow ? Log(QString::fromStdString(s), pRow->Flags) : -1;
}
