// An XML file as a tree, read from bytes that nobody vouches for. The one place that knows the XML library.
//
//   CXmlFile File;
//   QString sError = File.Load("core.xml");
//   if (sError.isEmpty()) for (const CXmlNode& Group : File.GetRoot().GetChildren("group")) ...
#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <memory>

/// One element; valid while its file lives. A default node is no element: all answers are empty.
class CXmlNode {
public:
    CXmlNode() = default;
    explicit CXmlNode(const void* pNode) : m_pNode(pNode) {}
    bool IsValid() const { return m_pNode != nullptr; }
    QString GetName() const;
    QString GetText() const;                                 ///< the element's own text, runs of blanks reduced
    QString GetText(const char* sChild) const;               ///< text of a child, empty if there is none
    bool HasAttribute(const char* sName) const;
    QString GetAttribute(const char* sName) const;
    CXmlNode GetChild(const char* sName) const;              ///< the first of that name
    QList<CXmlNode> GetChildren(const char* sName = nullptr) const; ///< null: all

private:
    const void* m_pNode = nullptr;
};

class CXmlFile {
public:
    CXmlFile();
    ~CXmlFile();
    /// Reads a file of at most 256 MB. Empty on success, else the reason.
    QString Load(const QString& sPath);
    QString Parse(const QByteArray& Bytes);
    CXmlNode GetRoot() const;

private:
    struct DOCUMENT;
    QByteArray m_Buffer; ///< the parser works in place
    std::unique_ptr<DOCUMENT> m_pDocument;
};
