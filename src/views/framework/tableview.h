// CTableView, a plain grid with the look of the item windows; used where rows never unfold.
#pragma once
#include <QTableView>

class CTableView : public QTableView {
    Q_OBJECT

public:
    explicit CTableView(QWidget* pParent = nullptr);
    void SetRowHeight(int Pixels);
};
