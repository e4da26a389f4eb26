#include "app/shell/localsreader.h"

#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "program/eval/evalhooks.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"
#include "views/framework/window.h"

CLocalsReader& CLocalsReader::Get()
{
    static CLocalsReader* pReader = new CLocalsReader; // a listener lives as long as the device
    return *pReader;
}

CLocalsReader::CLocalsReader()
{
    constexpr int GATHER_MS = 5;
    m_Timer.setSingleShot(true);
    m_Timer.setInterval(GATHER_MS);
    connect(&m_Timer, &QTimer::timeout, this, [this] {
        if (m_pWindow) m_pWindow->Update(CDevice::Get().GetPC());
    });
}

void CLocalsReader::SetWindow(CWindow* pWindow)
{
    m_pWindow = pWindow;
}

QByteArray CLocalsReader::MakeKey(const ELF_SYM_LOC& Loc, U32 nBytes)
{
    return QByteArray(reinterpret_cast<const char*>(&Loc), sizeof(Loc)) + QByteArray::number(nBytes);
}

void CLocalsReader::Store(const ELF_SYM_LOC& Loc, U32 nBytes, const U8* paData)
{
    m_Values.insert(MakeKey(Loc, nBytes), paData ? QByteArray(reinterpret_cast<const char*>(paData), nBytes) : QByteArray());
    m_Timer.start();
}

void CLocalsReader::OnDeviceReadLocDone(const ELF_SYM_LOC& Loc, U32 nBytes, const char*, U8* paData)
{
    Store(Loc, nBytes, paData);
}

void CLocalsReader::OnDeviceReadLocFailed(const ELF_SYM_LOC& Loc, U32 nBytes, const char*, U8*)
{
    Store(Loc, nBytes, nullptr);
}

QList<CSymbol> CLocalsReader::GetVariables() const
{
    const CProgLock Lock;
    QList<CSymbol> List;
    for (const ELF_SYM_HANDLE hSym : EVAL_GetFrameLocals()) List.append(CSymbol::FromProgram(hSym));
    return List;
}

void CLocalsReader::Fill(CSymbol& Symbol)
{
    constexpr U32 MAX_BYTES = 8;
    const SYMBOL_KINDS Kind = Symbol.GetKind();
    if (Kind == SYMBOL_AGGREGATE || Kind == SYMBOL_ARRAY || Symbol.Loc.NumParts == 0 || Symbol.ByteSize == 0 ||
        Symbol.ByteSize > MAX_BYTES || !Symbol.Value.isEmpty() || !ELF_LocIsValid(Symbol.Loc))
        return; // a place that hangs on a frame is asked for when the frame is known
    if (Symbol.Pieces.isEmpty()) {
        Symbol.Value = Fetch(Symbol.Loc, Symbol.ByteSize);
        return;
    }
    Symbol.ReadPieces([this](const ELF_SYM_LOC& Loc, U32 nBytes, U64* pValue) {
        const QByteArray Bytes = Fetch(Loc, nBytes);
        *pValue = 0;
        std::copy(Bytes.begin(), Bytes.end(), reinterpret_cast<char*>(pValue));
        return !Bytes.isEmpty();
    });
}

QByteArray CLocalsReader::Fetch(const ELF_SYM_LOC& Loc, U32 nBytes)
{
    const QByteArray Key = MakeKey(Loc, nBytes);
    if (!m_Values.contains(Key)) {
        m_Values.insert(Key, {});
        CDeviceDataManager::Get().ReadSymDataCached(this, Loc, nBytes, nullptr);
    }
    return m_Values.value(Key);
}

QList<VIEW_SYMBOL> CLocalsReader::GetRows(const QStringList& Path)
{
    QList<CSymbol> Symbols = GetVariables();
    for (const QString& sName : Path) {
        CSymbol Parent;
        for (CSymbol& Symbol : Symbols)
            if (Symbol.Name == sName) Parent = Symbol;
        Fill(Parent);
        Symbols.clear();
        // A pointer unfolds into what it points to.
        CSymbol Holder = Parent.GetKind() == SYMBOL_POINTER ? Parent.GetPointee(0) : Parent;
        const bool IsScalarTarget = Parent.GetKind() == SYMBOL_POINTER && Holder.GetKind() == SYMBOL_SCALAR;
        if (IsScalarTarget) {
            Symbols.append(Holder);
            continue;
        }
        const int NumMembers = std::min(Holder.GetChildCount(), int(GetVarValue(PREF_MAX_SYMBOL_MEMBERS)));
        for (int i = 0; i < NumMembers; i++) Symbols.append(Holder.GetChild(i));
    }
    QList<VIEW_SYMBOL> Rows;
    for (CSymbol& Symbol : Symbols) {
        Fill(Symbol);
        VIEW_SYMBOL Row;
        Row.sName = Symbol.Name;
        Row.sValue = Symbol.GetValueStr(0);
        Row.sLocation = Symbol.GetLocationStr();
        Row.Size = Symbol.ByteSize;
        Row.sType = Symbol.GetTypeStr();
        Row.HasMembers = Symbol.GetChildCount() > 0;
        I64 Value = 0;
        Row.IsValueValid = Symbol.GetInteger(&Value);
        Row.SortValue = U64(Value);
        Rows.append(Row);
    }
    return Rows;
}
