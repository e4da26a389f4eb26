// CLocalsReader: the local variables of the selected frame as rows, without ever waiting for the target. What isn't
// known yet is asked for and shows as unread; when it arrives the window is told to look again.
#pragma once
#include "device/queue/deviceeventlistener.h"
#include "program/eval/symbol.h"
#include "views/debug/debugviewhooks.h"

#include <QHash>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QTimer>

class CWindow;

class CLocalsReader : public QObject, public CDeviceEventListener {
public:
    static CLocalsReader& Get();
    void SetWindow(CWindow* pWindow); ///< who is updated when values arrive; may be null

    /// Rows of the variables (empty path), or of the members of the symbol that the path of names leads to.
    QList<VIEW_SYMBOL> GetRows(const QStringList& Path);

    void OnDeviceReadLocDone(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* paData) override;
    void OnDeviceReadLocFailed(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* paData) override;
    void OnDeviceHaltDone(U32, HALT_REASONS) override { m_Values.clear(); }
    void OnDeviceStepped(U32) override { m_Values.clear(); }
    void OnDeviceResumeDone(RESUME_MODES) override { m_Values.clear(); }
    void OnDeviceWriteAccess() override { m_Values.clear(); }

private:
    CLocalsReader();
    QList<CSymbol> GetVariables() const;
    void Fill(CSymbol& Symbol);
    /// Bytes of a location, empty until they are there; asks for them.
    QByteArray Fetch(const ELF_SYM_LOC& Loc, U32 nBytes);
    static QByteArray MakeKey(const ELF_SYM_LOC& Loc, U32 nBytes);
    void Store(const ELF_SYM_LOC& Loc, U32 nBytes, const U8* paData);

    QPointer<CWindow> m_pWindow;
    QTimer m_Timer;                       ///< gathers arrivals into one update of the window
    QHash<QByteArray, QByteArray> m_Values; ///< of this halt; an empty value: asked for, or failed
};
