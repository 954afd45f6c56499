#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QSharedPointer>

class OTModel;
using OTModelPtr = QSharedPointer<OTModel>;

// Base class of the JSON-mapped records.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTModel : public QObject
{
    Q_OBJECT
public:
    static constexpr int ArchiveVersion = 1;

    explicit OTModel(QObject *parent = nullptr);

    // property name -> JSON key path. The base class maps nothing.
    virtual QHash<QString, QString> JSONKeyPathsByPropertyKey() const;

    // A new instance of `modelClass` (an OTModel subclass with a Q_INVOKABLE constructor)
    // filled from `json`. Null when the class cannot be instantiated.
    static OTModelPtr modelOfClass(const QMetaObject *modelClass, const QJsonObject &json);
    template <class T>
    static QSharedPointer<T> modelFromJSON(const QJsonObject &json)
    {
        return modelOfClass(&T::staticMetaObject, json).template objectCast<T>();
    }

    // Every mapped property at its key path; absent properties are JSON null.
    QJsonObject JSONObject() const;

    // Whether the mapped property `name` holds a value.
    bool hasValueForKey(const QString &name) const;

    // Same class and every mapped property equal (absent equals absent only).
    bool isEqualToModel(const OTModel *other) const;

    QByteArray archivedData() const;
    static OTModelPtr unarchiveObjectWithData(const QByteArray &data, OTError *error = nullptr);

    // Writes the archive atomically: the file holds the previous content or the new one,
    // never a mix. False (with `error` set) when the file cannot be written.
    bool archiveRootObjectToFile(const QString &path, OTError *error = nullptr) const;
    // Reads an archive written by archiveRootObjectToFile. Only a regular file of at most
    // `maxBytes` is read (see ot_readRegularFile); anything else is a FileSystem error.
    static constexpr qint64 DefaultMaxArchiveFileSize = 1024 * 1024;
    static OTModelPtr unarchiveObjectWithFile(const QString &path, OTError *error = nullptr,
                                              qint64 maxBytes = DefaultMaxArchiveFileSize);

    // Makes `modelClass` known to the unarchiver by its class name.
    static void registerModelClass(const QMetaObject *modelClass);

Q_SIGNALS:
    // Emitted when any mapped property changes.
    void changed();
};

Q_DECLARE_METATYPE(OTModelPtr)

#define OT_REGISTER_MODEL(ClassName) \
    static void ot_register_##ClassName() { OTModel::registerModelClass(&ClassName::staticMetaObject); } \
    Q_CONSTRUCTOR_FUNCTION(ot_register_##ClassName)
