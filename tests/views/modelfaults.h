// Collects what QAbstractItemModelTester finds wrong with a model. Item models here answer "enabled" for the
// invalid index, which views never ask; that one finding is left out.
#pragma once
#include <QStringList>
#include <QtGlobal>

class CModelFaults {
public:
    CModelFaults()
    {
        List().clear();
        m_pfOld =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext& Context, const QString& sText) {
                const bool IsModelTest = Context.category && qstrcmp(Context.category, "qt.modeltest") == 0;
                if (IsModelTest && !sText.contains(QLatin1String("flags == Qt::ItemIsDropEnabled")))
                    List().append(sText);
            });
    }
    ~CModelFaults() { qInstallMessageHandler(m_pfOld); }
    QStringList Get() const { return List(); }

private:
    static QStringList& List()
    {
        static QStringList s_List;
        return s_List;
    }
    QtMessageHandler m_pfOld;
};
