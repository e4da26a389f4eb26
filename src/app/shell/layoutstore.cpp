#include "app/shell/layoutstore.h"

#include "app/services/log.h"
#include "app/services/settingsstore.h"

#include <QCryptographicHash>

namespace {

constexpr char DIGESTS[] = "Digests/"; ///< below the layout's group, by its key

QString MakeDigest(const QByteArray& Layout)
{
    return QString::fromLatin1(QCryptographicHash::hash(Layout, QCryptographicHash::Sha1).toHex());
}

} // namespace

void WriteLayout(const QString& sGroup, const QString& sKey, const QByteArray& Layout)
{
    CSettingsStore& Store = CSettingsStore::Get();
    Store.Write(sGroup, sKey, Layout);
    Store.Write(sGroup, DIGESTS + sKey, MakeDigest(Layout));
}

QByteArray ReadLayout(const QString& sGroup, const QString& sKey)
{
    const CSettingsStore& Store = CSettingsStore::Get();
    const QByteArray Layout = Store.Read(sGroup, sKey, {}).toByteArray();
    if (Layout.isEmpty() || Store.Read(sGroup, DIGESTS + sKey, {}).toString() == MakeDigest(Layout))
        return Layout;
    LogWarning(QStringLiteral("The stored layout is damaged and isn't used: %1/%2").arg(sGroup, sKey));
    return {};
}
