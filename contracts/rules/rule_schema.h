#pragma once

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/export.h"

/// One property that a kind of rule knows.
struct RULE_PROPERTY
{
    QString name;        ///< as shown, and as it stands the key into CACHED_RULE::properties
    QString description; ///< tool tip
};

/// The description of one kind of rule, for the rule editor and the rule list.
///
/// Processors are the source of schemas: a processor registers in its
/// constructor what it will later ask RULE_CACHE for. A kind without a schema
/// works all the same and is simply not shown. The table owns the schemas that
/// `register_schema` made; they live as long as the process. GUI thread only.
class GOX_CONTRACTS_EXPORT RULE_SCHEMA : public QObject
{
    Q_OBJECT

public:
    QString name;                            ///< as shown to the user
    QString description;                     ///< tool tip of the rule's row
    QMap<QString, RULE_PROPERTY> properties; ///< key: the property's name in lower case

    /// The property of that name, in any case, whatever the keys of `properties`
    /// are; null when the kind has none. The schema owns it.
    const RULE_PROPERTY* property(const QString& name) const;

    /// Every known schema. Key: the schema's name in lower case.
    static QMap<QString, RULE_SCHEMA*> s_schemas;

    explicit RULE_SCHEMA(QObject* parent = nullptr);

    /// The schema of that name, made and entered into `s_schemas` at the first
    /// call. Further calls, whatever the letter case, give the same object and
    /// add the properties that it does not know yet; name and descriptions of
    /// the first call stay. So several processors can share a kind, and a
    /// processor may be made more than once.
    static RULE_SCHEMA* register_schema(const QString& name, const QString& description,
                                        const QVector<RULE_PROPERTY>& properties);

    // For the editor's menus: each slot emits the signal of its name with `name`.
public slots:
    void add();
    void add_above();
    void add_below();

signals:
    void add(const QString& name);
    void add_above(const QString& name);
    void add_below(const QString& name);
};
