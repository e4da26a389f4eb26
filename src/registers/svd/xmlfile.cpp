#include "registers/svd/xmlfile.h"

#include <QFile>
#include <cstring>
#include <rapidxml/rapidxml.hpp>

namespace {

constexpr qint64 MAX_FILE_SIZE = 256ll << 20;
constexpr int MAX_DEPTH = 200; ///< the parser recurses; a hostile file could exhaust the stack

const rapidxml::xml_node<>* Node(const void* p)
{
    return static_cast<const rapidxml::xml_node<>*>(p);
}

/// Deepest nesting of elements, counted roughly from the tags alone.
int GetDepth(const QByteArray& Bytes)
{
    int Depth = 0, Max = 0;
    const char* p = Bytes.constData();
    const char* pEnd = p + Bytes.size();
    while (p < pEnd && (p = static_cast<const char*>(std::memchr(p, '<', size_t(pEnd - p)))) != nullptr) {
        const char* pClose = static_cast<const char*>(std::memchr(p, '>', size_t(pEnd - p)));
        if (!pClose) break;
        if (p[1] == '/')
            Depth--;
        else if (p[1] != '!' && p[1] != '?' && pClose[-1] != '/')
            Depth++;
        Max = std::max(Max, Depth);
        p = pClose;
    }
    return Max;
}

QString Simplify(QString s)
{
    return s.simplified();
}

} // namespace

struct CXmlFile::DOCUMENT {
    rapidxml::xml_document<> Xml;
};

CXmlFile::CXmlFile() = default;
CXmlFile::~CXmlFile() = default;

QString CXmlFile::Load(const QString& sPath)
{
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return QStringLiteral("file not found: ") + sPath;
    if (File.size() > MAX_FILE_SIZE) return QStringLiteral("file is too large: ") + sPath;
    const QString sError = Parse(File.readAll());
    return sError.isEmpty() ? QString() : sPath + QStringLiteral(": ") + sError;
}

QString CXmlFile::Parse(const QByteArray& Bytes)
{
    m_pDocument.reset();
    if (Bytes.trimmed().isEmpty()) return QStringLiteral("empty file");
    if (GetDepth(Bytes) > MAX_DEPTH) return QStringLiteral("elements are nested too deeply");
    m_Buffer = Bytes;
    m_Buffer.append('\0');
    auto pDocument = std::make_unique<DOCUMENT>();
    try {
        pDocument->Xml.parse<rapidxml::parse_validate_closing_tags>(m_Buffer.data());
    } catch (const rapidxml::parse_error& Error) {
        const auto Line = QByteArray(Bytes.constData(), Error.where<char>() - m_Buffer.constData()).count('\n') + 1;
        return QStringLiteral("%1 in line %2").arg(QLatin1String(Error.what())).arg(Line);
    }
    if (!pDocument->Xml.first_node()) return QStringLiteral("no root element");
    m_pDocument = std::move(pDocument);
    return {};
}

CXmlNode CXmlFile::GetRoot() const
{
    if (!m_pDocument) return {};
    for (auto* p = m_pDocument->Xml.first_node(); p; p = p->next_sibling())
        if (p->type() == rapidxml::node_element) return CXmlNode(p);
    return {};
}

QString CXmlNode::GetName() const
{
    return m_pNode ? QString::fromUtf8(Node(m_pNode)->name(), qsizetype(Node(m_pNode)->name_size())) : QString();
}

QString CXmlNode::GetText() const
{
    return m_pNode ? Simplify(QString::fromUtf8(Node(m_pNode)->value(), qsizetype(Node(m_pNode)->value_size()))) : QString();
}

QString CXmlNode::GetText(const char* sChild) const
{
    return GetChild(sChild).GetText();
}

bool CXmlNode::HasAttribute(const char* sName) const
{
    return m_pNode && Node(m_pNode)->first_attribute(sName);
}

QString CXmlNode::GetAttribute(const char* sName) const
{
    const auto* p = m_pNode ? Node(m_pNode)->first_attribute(sName) : nullptr;
    return p ? QString::fromUtf8(p->value(), qsizetype(p->value_size())) : QString();
}

CXmlNode CXmlNode::GetChild(const char* sName) const
{
    return m_pNode ? CXmlNode(Node(m_pNode)->first_node(sName)) : CXmlNode();
}

QList<CXmlNode> CXmlNode::GetChildren(const char* sName) const
{
    QList<CXmlNode> List;
    if (!m_pNode) return List;
    for (const auto* p = Node(m_pNode)->first_node(sName); p; p = p->next_sibling(sName))
        if (p->type() == rapidxml::node_element) List.append(CXmlNode(p));
    return List;
}
