#include "app/shell/aboutbox.h"

#include "app/services/appinfo.h"
#include "views/framework/messagebox.h"

void ShowAboutBox(QWidget*)
{
    CMessageBox::ShowInfo(QStringLiteral("About ") + GetProductName(),
                          QStringLiteral("%1\n\nBuilt on %2")
                              .arg(GetProductName(PRODUCT_NAME_LONG | PRODUCT_NAME_VERSION), GetBuildDate()));
}
