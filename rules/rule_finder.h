#pragma once

#include <QtCore/QObject>
#include <QtCore/QVector>

class FIND_LINE;
class QTreeWidget;
class QTreeWidgetItem;

/// Finds rules, properties and values in the rule editor's tree by the text of a
/// FIND_LINE: makes the row of a hit current and opens the rows above it. Each
/// step looks through the rows as they are then. GUI thread.
class RULE_FINDER : public QObject
{
    Q_OBJECT

public:
    /// The child of `line`; `tree` must live as long.
    RULE_FINDER(QTreeWidget& tree, FIND_LINE& line);

private slots:
    void look(); ///< stays at the current row when that is a hit
    void next();
    void previous();
    void leave(); ///< back to the tree

private:
    struct HITS
    {
        QVector<QTreeWidgetItem*> rows; // in the order of the tree
        int before = 0;                 // of them in front of the current row
        bool is_current = false;        // whether the current row is one
        bool has_passed = false;        // while they are collected: the current row
    };

    HITS hits() const;
    void collect(QTreeWidgetItem& row, HITS& hits) const;
    bool is_hit(const QTreeWidgetItem& row) const;
    void go_to(const HITS& hits, int index);

    QTreeWidget* m_tree;
    FIND_LINE* m_line;
};
