// Documents of the source window: opening, closing, saving, and what the session keeps of them.
#include "app/services/log.h"
#include "project/settings/sysvars.h"
#include "views/debug/sourcewindow.h"
#include "views/debug/srcdocument.h"
#include "views/framework/messagebox.h"

#include <QAction>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QStackedWidget>
#include <QTabBar>

namespace {
constexpr I64 DISABLE_SAVE_OPEN_FILES = 4;
constexpr I64 RESTRICT_WHILE_DEBUGGING = 1;
constexpr I64 RESTRICT_ALWAYS = 2;
const char* const aEolNames[] = {"Unix (LF)", "Windows (CR+LF)", "Mac (CR)"};
} // namespace

// ---- Lookup ----------------------------------------------------------------------------------------------

CSrcDocument* CSourceWindow::GetDocument(U32 FileNo) const
{
    for (const auto& pDocument : m_Documents)
        if (pDocument->GetFileNo() == FileNo) return pDocument.get();
    return nullptr;
}

U32 CSourceWindow::GetActiveFileNo() const
{
    return m_pEditor && m_pTabBar->currentIndex() >= 0 && m_pTabBar->currentIndex() < m_TabFiles.size()
               ? m_TabFiles[m_pTabBar->currentIndex()]
               : 0;
}
CSrcDocument* CSourceWindow::GetCurrentDocument() const
{
    return GetDocument(GetActiveFileNo());
}

CSrcDocument* CSourceWindow::FindDocument(const QString& sPath) const
{
    if (CSrcDocument* pDocument = GetDocument(GetViewFileNo(sPath))) return pDocument;
    const QString sClean = QFileInfo(sPath).absoluteFilePath();
    for (const auto& pDocument : m_Documents)
        if (QFileInfo(pDocument->GetPath()).absoluteFilePath() == sClean) return pDocument.get();
    // A bare file name stands for the open document of that name.
    if (!sPath.contains(u'/') && !sPath.contains(u'\\'))
        for (const auto& pDocument : m_Documents)
            if (pDocument->GetFileName() == sPath) return pDocument.get();
    return nullptr;
}

bool CSourceWindow::IsOpen(const QString& sPath) const
{
    return FindDocument(sPath) != nullptr;
}

QStringList CSourceWindow::GetFilePaths() const
{
    QStringList Paths;
    for (U32 FileNo : m_TabFiles) Paths.append(GetDocument(FileNo)->GetPath());
    return Paths;
}

QString CSourceWindow::GetActiveFile() const
{
    const CSrcDocument* pDocument = GetCurrentDocument();
    return pDocument ? pDocument->GetPath() : QString();
}

QString CSourceWindow::GetTabFile(int Tab) const
{
    return Tab >= 0 && Tab < m_TabFiles.size() ? GetDocument(m_TabFiles[Tab])->GetPath() : QString();
}

int CSourceWindow::GetTabNumber(const QString& sPath) const
{
    const CSrcDocument* pDocument = FindDocument(sPath);
    return pDocument ? int(m_TabFiles.indexOf(pDocument->GetFileNo())) : -1;
}

QString CSourceWindow::GetDocText(const QString& sPath) const
{
    const CSrcDocument* pDocument = FindDocument(sPath);
    return pDocument ? pDocument->GetLines().join(u'\n') : QString();
}

QString CSourceWindow::GetActiveDocTextLine(CSrcLoc Loc) const
{
    const CSrcDocument* pDocument = GetDocument(Loc.File);
    return pDocument ? pDocument->GetLine(int(Loc.Line) - 1) : QString();
}

// ---- Opening ---------------------------------------------------------------------------------------------

bool CSourceWindow::Open(const QString& sPath, DOC_OPEN_MODES Mode, int Line, QPoint CursorPos)
{
    CSrcDocument* pDocument = FindDocument(sPath);
    if (!pDocument) {
        QString sFound = sPath;
        if (!QFileInfo::exists(sFound)) {
            const QString sResolved = AskHook(GetDebugViewHooks().ResolvePath, QString(), sPath);
            if (!sResolved.isEmpty()) sFound = sResolved;
        }
        // The number is that of the path the program knows, wherever the file really lies.
        U32 FileNo = GetViewFileNo(sPath);
        m_Documents.push_back(std::make_unique<CSrcDocument>(sFound, FileNo));
        pDocument = m_Documents.back().get();
        pDocument->Load();
        m_TabFiles.append(FileNo);
        const int Tab = m_pTabBar->addTab(pDocument->GetFileName());
        m_pTabBar->setTabToolTip(Tab, pDocument->GetPath());
        UpdateDocTabBarTexts();
        emit DocumentListChanged();
    }
    if (CursorPos.x() >= 0)
        pDocument->m_Cursor = CursorPos;
    else if (Line >= 0)
        pDocument->m_Cursor = QPoint(0, Line);
    if (Mode == DOC_OPEN_CURRENT) {
        SetCurrentTab(int(m_TabFiles.indexOf(pDocument->GetFileNo())));
        if (Line >= 0 || CursorPos.x() >= 0) {
            m_pEditor->SetCursorTextPos(CursorPos.x() >= 0 ? CursorPos : QPoint(0, Line));
            m_pEditor->EnsureRowVisible(m_pEditor->GetRowOfLine(U32(m_pEditor->GetCursor().y() + 1)), true);
        }
    }
    emit ContentChanged();
    return true;
}

void CSourceWindow::SetCurrentTab(int Tab)
{
    if (Tab >= 0 && Tab < m_TabFiles.size()) m_pTabBar->setCurrentIndex(Tab);
    ShowDocument(GetCurrentDocument());
}

void CSourceWindow::OnTabChanged(int Tab)
{
    ShowDocument(Tab >= 0 && Tab < m_TabFiles.size() ? GetDocument(m_TabFiles[Tab]) : nullptr);
}

void CSourceWindow::ShowDocument(CSrcDocument* pDocument)
{
    if (pDocument == m_pEditor->GetDocument()) return;
    m_pEditor->SetDocument(pDocument);
    const bool IsFound = !pDocument || pDocument->IsFound();
    if (!IsFound)
        m_pLabelNotFound->setText(
            QStringLiteral(
                "File not found:\n\n%1\n\nPlease use the source files window to locate the file manually")
                .arg(pDocument->GetPath()));
    m_pStack->setCurrentIndex(IsFound ? 0 : 1);
    UpdateReadOnly();
    InitHeaderBar();
    UpdateFindMatches();
    OnCursorPositionChanged(m_pEditor->GetCursor());
    Repaint();
}

void CSourceWindow::UpdateDocTabBarTexts()
{
    for (int Tab = 0; Tab < m_TabFiles.size(); Tab++) {
        const CSrcDocument* pDocument = GetDocument(m_TabFiles[Tab]);
        QString sText = pDocument->GetFileName().replace(u'&', QLatin1String("&&"));
        if (pDocument->IsModified()) sText += QStringLiteral(" *");
        if (m_pTabBar->tabText(Tab) != sText) m_pTabBar->setTabText(Tab, sText);
    }
}

void CSourceWindow::ReopenResolvedDocuments()
{
    for (auto& pDocument : m_Documents) {
        if (pDocument->IsFound()) continue;
        const QString sResolved = AskHook(GetDebugViewHooks().ResolvePath, QString(), pDocument->GetPath());
        if (sResolved.isEmpty() || !QFileInfo::exists(sResolved)) continue;
        const bool IsCurrent = pDocument.get() == GetCurrentDocument();
        if (IsCurrent) m_pEditor->SetDocument(nullptr);
        auto pNew = std::make_unique<CSrcDocument>(sResolved, pDocument->GetFileNo());
        pNew->Load();
        pNew->m_Cursor = pDocument->m_Cursor;
        pDocument = std::move(pNew);
        if (IsCurrent) ShowDocument(pDocument.get());
    }
    UpdateDocTabBarTexts();
}

void CSourceWindow::ReloadChangedDocuments()
{
    for (auto& pDocument : m_Documents) {
        if (!pDocument->IsFound() || pDocument->IsModified()) continue;
        QFile File(pDocument->GetPath());
        if (!File.open(QIODevice::ReadOnly)) continue;
        const QByteArray Bytes = File.readAll();
        if (size_t(qHash(Bytes, 0)) == pDocument->GetContentHash()) continue;
        const bool IsCurrent = pDocument.get() == GetCurrentDocument();
        const int TopRow = m_pEditor->GetFirstVisibleRow();
        if (IsCurrent) m_pEditor->SetDocument(nullptr);
        pDocument->SetText(Bytes);
        pDocument->m_TopRow = IsCurrent ? TopRow : pDocument->m_TopRow;
        if (IsCurrent) ShowDocument(pDocument.get());
    }
}

void CSourceWindow::NotifyOutOfDate(U32 FileNo)
{
    CSrcDocument* pDocument = GetDocument(FileNo);
    if (!pDocument || pDocument->m_IsOutOfDateReported || !m_ShowOutOfDate) return;
    pDocument->m_IsOutOfDateReported = true;
    CMessageBox::Ask(MSGBOX_SOURCE_OUT_OF_DATE);
}

// ---- Editing ---------------------------------------------------------------------------------------------

void CSourceWindow::UpdateReadOnly()
{
    const I64 Restriction = GetVarValue(PREF_RESTRICT_SRC_EDIT);
    const CSrcDocument* pDocument = GetCurrentDocument();
    m_pEditor->SetReadOnly(!pDocument || !pDocument->IsFound() || Restriction == RESTRICT_ALWAYS ||
                           (Restriction == RESTRICT_WHILE_DEBUGGING && IsDebugSessionActive()));
}

bool CSourceWindow::ConfirmEdit()
{
    CSrcDocument* pDocument = GetCurrentDocument();
    if (!pDocument) return false;
    // Only a document of the program can come to differ from its debug information.
    const bool IsOfProgram =
        AskHook(GetDebugViewHooks().GetFileNo, 0xFFFFFFFFu, pDocument->GetPath()) != 0xFFFFFFFFu;
    if (!IsDebugSessionActive() || !IsOfProgram || pDocument->m_IsEditConfirmed) return true;
    pDocument->m_IsEditConfirmed = CMessageBox::AskWithThird(MSGBOX_EDIT_DOCUMENT) == 1;
    return pDocument->m_IsEditConfirmed;
}

void CSourceWindow::OnDocumentEdited()
{
    UpdateDocTabBarTexts();
    UpdateActions();
    if (const CSrcDocument* pDocument = GetCurrentDocument())
        emit DocumentStateChanged(pDocument->GetFileNo(), pDocument->IsModified());
    HighlightCallSites();
    HighlightPcLine();
}

bool CSourceWindow::IsDocumentModified(U32 FileNo) const
{
    const CSrcDocument* pDocument = GetDocument(FileNo);
    return pDocument && pDocument->IsModified();
}

bool CSourceWindow::HasModifiedDocument() const
{
    return !GetDocsWithUnsavedChangesFileNames().isEmpty();
}

QStringList CSourceWindow::GetDocsWithUnsavedChangesFileNames() const
{
    QStringList Names;
    for (U32 FileNo : m_TabFiles)
        if (IsDocumentModified(FileNo)) Names.append(GetDocument(FileNo)->GetFileName());
    return Names;
}

// ---- Saving ----------------------------------------------------------------------------------------------

bool CSourceWindow::Save(const QString& sPath)
{
    const CSrcDocument* pDocument = sPath.isEmpty() ? GetCurrentDocument() : FindDocument(sPath);
    return pDocument && SaveDocument(pDocument->GetFileNo());
}

bool CSourceWindow::SaveDocument(U32 FileNo)
{
    CSrcDocument* pDocument = GetDocument(FileNo);
    if (!pDocument) return false;
    EOL_FORMATS Format = pDocument->GetEol();
    if (Format == EOL_MIXED) {
        QStringList Names;
        for (const char* sName : aEolNames) Names.append(QLatin1String(sName));
        bool Ok = false;
        const QString sChosen = QInputDialog::getItem(
            this, QStringLiteral("Line Endings"),
            QStringLiteral("The document to be saved contains inconsistent line endings.\nPlease specify "
                           "which format is to be used before saving."),
            Names, 0, false, &Ok);
        if (!Ok) return false;
        Format = static_cast<EOL_FORMATS>(Names.indexOf(sChosen));
    }
    QString sError;
    if (!pDocument->Save(Format, &sError)) {
        const QString sText = QStringLiteral("Error writing file %1: %2").arg(pDocument->GetPath(), sError);
        LogError(sText);
        CMessageBox::ShowInfo(QStringLiteral("Save Document"), sText);
        return false;
    }
    UpdateDocTabBarTexts();
    UpdateActions();
    emit DocumentStateChanged(FileNo, false);
    return true;
}

bool CSourceWindow::SaveAll()
{
    bool Ok = true;
    const QList<U32> Files = m_TabFiles;
    for (U32 FileNo : Files)
        if (IsDocumentModified(FileNo)) Ok = SaveDocument(FileNo) && Ok;
    return Ok;
}

// ---- Closing ---------------------------------------------------------------------------------------------

bool CSourceWindow::NotifyUserClose(const QString& sPath)
{
    const CSrcDocument* pDocument = FindDocument(sPath);
    if (!pDocument || !pDocument->IsModified()) return true;
    const auto Answer = CMessageBox::Ask(MSGBOX_SAVE_DOCUMENT, pDocument->GetFileName());
    if (Answer == QDialogButtonBox::Cancel) return false;
    return Answer != QDialogButtonBox::Yes || SaveDocument(pDocument->GetFileNo());
}

bool CSourceWindow::NotifyUserCloseAll()
{
    const QStringList Names = GetDocsWithUnsavedChangesFileNames();
    if (Names.isEmpty()) return true;
    const auto Answer = CMessageBox::Ask(MSGBOX_SAVE_DOCUMENTS, Names.join(u'\n'));
    if (Answer == QDialogButtonBox::Cancel) return false;
    return Answer != QDialogButtonBox::Yes || SaveAll();
}

void CSourceWindow::RemoveDocument(U32 FileNo)
{
    const int Tab = int(m_TabFiles.indexOf(FileNo));
    if (Tab < 0) return;
    if (m_pEditor->GetDocument() == GetDocument(FileNo)) m_pEditor->SetDocument(nullptr);
    m_TabFiles.removeAt(Tab);
    std::erase_if(m_Documents, [FileNo](const auto& pDocument) { return pDocument->GetFileNo() == FileNo; });
    {
        // The tab bar tells of the new current tab in the middle of its own removal.
        const QSignalBlocker Blocker(m_pTabBar);
        m_pTabBar->removeTab(Tab);
    }
    ShowDocument(GetCurrentDocument());
    emit DocumentListChanged();
    emit ContentChanged();
}

bool CSourceWindow::Close(const QString& sPath)
{
    const CSrcDocument* pDocument = sPath.isEmpty() ? GetCurrentDocument() : FindDocument(sPath);
    if (!pDocument || !NotifyUserClose(pDocument->GetPath())) return false;
    RemoveDocument(pDocument->GetFileNo());
    return true;
}

bool CSourceWindow::CloseAll()
{
    if (!NotifyUserCloseAll()) return false;
    while (!m_TabFiles.isEmpty()) RemoveDocument(m_TabFiles.last());
    return true;
}

bool CSourceWindow::CloseAllButThis()
{
    const U32 Keep = GetActiveFileNo();
    const QList<U32> Files = m_TabFiles;
    for (U32 FileNo : Files)
        if (FileNo != Keep && !NotifyUserClose(GetDocument(FileNo)->GetPath())) return false;
    for (U32 FileNo : Files)
        if (FileNo != Keep) RemoveDocument(FileNo);
    return true;
}

void CSourceWindow::CloseAllUneditedDocuments()
{
    const QList<U32> Files = m_TabFiles;
    for (U32 FileNo : Files)
        if (!IsDocumentModified(FileNo)) RemoveDocument(FileNo);
}

void CSourceWindow::OnTabCloseRequested(int Tab)
{
    const QString sPath = GetTabFile(Tab);
    if (GetWindowEnv().PerformCommand)
        PerformWindowCommand(QStringLiteral("File.Close"), {sPath});
    else
        Close(sPath);
}

void CSourceWindow::OnTabContextMenuRequested(QPoint Pos)
{
    const int Tab = m_pTabBar->tabAt(Pos);
    if (Tab < 0) return;
    SetCurrentTab(Tab);
    QMenu Menu(this);
    const QString sPath = GetTabFile(Tab);
    connect(Menu.addAction(QStringLiteral("&Close")), &QAction::triggered, this,
            [this, Tab] { OnTabCloseRequested(Tab); });
    connect(Menu.addAction(QStringLiteral("Close All &But This")), &QAction::triggered, this, [this] {
        if (PerformWindowCommand(QStringLiteral("File.CloseAllButThis")) < 0) CloseAllButThis();
    });
    connect(Menu.addAction(QStringLiteral("Close &All")), &QAction::triggered, this, [this] {
        if (PerformWindowCommand(QStringLiteral("File.CloseAll")) < 0) CloseAll();
    });
    connect(Menu.addAction(QStringLiteral("Close All &Unedited")), &QAction::triggered, this,
            &CSourceWindow::CloseAllUneditedDocuments);
    Menu.exec(m_pTabBar->mapToGlobal(Pos));
}

// ---- Session ---------------------------------------------------------------------------------------------

QString CSourceWindow::MakeSessionLine(const QStringList& OldLines) const
{
    QStringList Lines{CWindow::MakeSessionLine(OldLines)};
    if (GetVarValue(PREF_SESSION_SAVE_FLAGS) & DISABLE_SAVE_OPEN_FILES) {
        for (const QString& sLine : OldLines)
            if (sLine.startsWith(QLatin1String("OpenDocument=")) ||
                sLine.startsWith(QLatin1String("VisibleTab=")))
                Lines.append(sLine);
        return Lines.join(u'\n');
    }
    for (U32 FileNo : m_TabFiles) {
        const CSrcDocument* pDocument = GetDocument(FileNo);
        const int Line =
            pDocument == GetCurrentDocument() ? m_pEditor->GetCursor().y() : pDocument->m_Cursor.y();
        Lines.append(QStringLiteral("OpenDocument=\"%1\", FilePath=\"%2\", Line=%3")
                         .arg(pDocument->GetFileName(), pDocument->GetPath())
                         .arg(Line));
    }
    if (const CSrcDocument* pDocument = GetCurrentDocument())
        Lines.append(QStringLiteral("VisibleTab=\"%1\"").arg(pDocument->GetFileName()));
    return Lines.join(u'\n');
}

void CSourceWindow::ApplyDocumentLines(const QStringList& Lines)
{
    QString sVisible;
    for (const QString& sLine : Lines) {
        QHash<QString, QString> Values;
        const auto Items = SplitSessionLine(sLine);
        for (const auto& Item : Items) Values.insert(Item.first, Unquote(Item.second));
        if (Items.isEmpty()) continue;
        if (Items.first().first == QLatin1String("VisibleTab")) sVisible = Unquote(Items.first().second);
        if (Items.first().first != QLatin1String("OpenDocument")) continue;
        const QString sPath =
            Values.value(QStringLiteral("FilePath"), Values.value(QStringLiteral("OpenDocument")));
        if (!sPath.isEmpty())
            Open(sPath, DOC_OPEN_BACKGROUND, qMax(0, Values.value(QStringLiteral("Line")).toInt()));
    }
    if (const CSrcDocument* pDocument = FindDocument(sVisible)) {
        SetCurrentTab(int(m_TabFiles.indexOf(pDocument->GetFileNo())));
        m_pEditor->EnsureRowVisible(m_pEditor->GetRowOfLine(U32(m_pEditor->GetCursor().y() + 1)), true);
    }
}
