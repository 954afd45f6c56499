#include "OTModel.h"

#include "OTFile.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborStreamReader>
#include <QCborValue>
#include <QFile>
#include <QJsonArray>
#include <QMetaProperty>
#include <QMutex>
#include <QSaveFile>
#include <QSet>

#include <cmath>
#include <limits>
#include <optional>

namespace {

const QString kClassKey = QStringLiteral("class");
const QString kVersionKey = QStringLiteral("version");
const QString kPropertiesKey = QStringLiteral("properties");

struct Registry
{
    QMutex mutex;
    QHash<QByteArray, const QMetaObject *> classes;
};

Registry &registry()
{
    static Registry r;
    return r;
}

const QMetaObject *registeredClass(const QByteArray &name)
{
    Registry &r = registry();
    QMutexLocker lock(&r.mutex);
    return r.classes.value(name);
}

// A string that is present but empty must stay present: Qt hands back a null QString for
// "" in places, so normalise.
QString presentString(const QString &s)
{
    return s.isNull() ? QStringLiteral("") : s;
}

// A JSON or CBOR array of strings as a string list; null when an element is no string.
template <typename Array>
QVariant stringListOf(const Array &array)
{
    QStringList list;
    for (const auto &element : array) {
        if (!element.isString())
            return {};
        list.append(presentString(element.toString()));
    }
    return list;
}

// Where JSON and CBOR differ for a property: what makes a keyed object, and which numbers
// are whole or real. A JSON number is whole when it has no fraction and fits 64 bits (the
// parser's own rule); a CBOR one when it is written as an integer, and real when finite.
std::optional<QJsonObject> objectOf(const QJsonValue &value)
{
    return value.isObject() ? std::optional(value.toObject()) : std::nullopt;
}

std::optional<QCborMap> objectOf(const QCborValue &value)
{
    return value.isMap() ? std::optional(value.toMap()) : std::nullopt;
}

std::optional<qint64> wholeOf(const QJsonValue &value)
{
    if (!value.isDouble() || value.toInteger(0) != value.toInteger(1))
        return std::nullopt;
    return value.toInteger(0);
}

std::optional<qint64> wholeOf(const QCborValue &value)
{
    return value.isInteger() ? std::optional(value.toInteger()) : std::nullopt;
}

std::optional<double> realOf(const QJsonValue &value)
{
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

std::optional<double> realOf(const QCborValue &value)
{
    // NaN and the infinities are not numbers a record can hold (JSON has none either).
    if (!(value.isDouble() || value.isInteger()) || !std::isfinite(value.toDouble()))
        return std::nullopt;
    return value.toDouble();
}

QJsonObject jsonOf(const QJsonObject &object) { return object; }
QJsonObject jsonOf(const QCborMap &map) { return map.toJsonObject(); }
QJsonArray jsonOf(const QJsonArray &array) { return array; }
QJsonArray jsonOf(const QCborArray &array) { return array.toJsonArray(); }

// Converts a JSON or CBOR value to what a property of type `type` holds; an invalid QVariant
// when the value's type does not fit. A number out of an int property's range leaves it
// absent (converting it would be undefined behaviour).
template <typename Value>
QVariant propertyValueOf(const Value &value, QMetaType type)
{
    switch (type.id()) {
    case QMetaType::QString:
        return value.isString() ? QVariant(presentString(value.toString())) : QVariant();
    case QMetaType::Bool:
        return value.isBool() ? QVariant(value.toBool()) : QVariant();
    case QMetaType::Int: {
        const std::optional<qint64> whole = wholeOf(value);
        return whole && *whole >= std::numeric_limits<int>::min() && *whole <= std::numeric_limits<int>::max()
                   ? QVariant(static_cast<int>(*whole)) : QVariant();
    }
    case QMetaType::LongLong: {
        const std::optional<qint64> whole = wholeOf(value);
        return whole ? QVariant(*whole) : QVariant();
    }
    case QMetaType::Double: {
        const std::optional<double> real = realOf(value);
        return real ? QVariant(*real) : QVariant();
    }
    case QMetaType::QVariantMap: {
        const auto object = objectOf(value);
        return object ? QVariant(object->toVariantMap()) : QVariant();
    }
    case QMetaType::QJsonObject: {
        const auto object = objectOf(value);
        return object ? QVariant(jsonOf(*object)) : QVariant();
    }
    case QMetaType::QVariantList:
        return value.isArray() ? QVariant(value.toArray().toVariantList()) : QVariant();
    case QMetaType::QJsonArray:
        return value.isArray() ? QVariant(jsonOf(value.toArray())) : QVariant();
    case QMetaType::QStringList:
        return value.isArray() ? stringListOf(value.toArray()) : QVariant();
    default:
        return {};
    }
}

bool isPresent(const QVariant &v)
{
    switch (v.metaType().id()) {
    case QMetaType::QString: return !v.toString().isNull();
    case QMetaType::QVariantMap: return !v.toMap().isEmpty();
    case QMetaType::QJsonObject: return !v.toJsonObject().isEmpty();
    case QMetaType::QVariantList: return !v.toList().isEmpty();
    case QMetaType::QJsonArray: return !v.toJsonArray().isEmpty();
    case QMetaType::QStringList: return !v.toStringList().isEmpty();
    default: return v.isValid();
    }
}

QJsonValue valueAtKeyPath(const QJsonObject &json, const QString &keyPath)
{
    const QStringList parts = keyPath.split(u'.');
    QJsonValue current(json);
    for (const QString &part : parts) {
        if (!current.isObject())
            return QJsonValue(QJsonValue::Undefined);
        current = current.toObject().value(part);
    }
    return current;
}

void setValueAtKeyPath(QJsonObject &json, QStringList parts, const QJsonValue &value)
{
    const QString head = parts.takeFirst();
    if (parts.isEmpty()) {
        json.insert(head, value);
        return;
    }
    QJsonObject child = json.value(head).toObject();
    setValueAtKeyPath(child, parts, value);
    json.insert(head, child);
}

// Whether `value` holds a NaN or an infinity anywhere, however deep: no record holds one
// (JSON has none), and one would keep a record from equalling its own archived copy.
bool holdsNonFinite(const QCborValue &value)
{
    if (value.isDouble())
        return !std::isfinite(value.toDouble());
    if (value.isArray()) {
        for (const QCborValue &element : value.toArray()) {
            if (holdsNonFinite(element))
                return true;
        }
    }
    if (value.isMap()) {
        const QCborMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            if (holdsNonFinite(it.key()) || holdsNonFinite(it.value()))
                return true;
        }
    }
    if (value.isTag())
        return holdsNonFinite(value.taggedValue());
    return false;
}

// A property value from an archive. Containers go through QCborValue's own variant
// conversion; scalars are checked by hand so that a foreign archive cannot slip a value of
// the wrong kind into a property.
QVariant fromCbor(const QCborValue &value, QMetaType type)
{
    return holdsNonFinite(value) ? QVariant() : propertyValueOf(value, type);
}

// A property's JSON value, with every number in the form JSON text reads back as. QJsonValue
// keeps a double as a double, while the parser stores any whole number that fits 64 bits as
// an integer, and QJsonObject's == tells the two apart: a record's 1e16 would not equal the
// same record's JSON written and read again. Whole doubles in range become integers (the
// value is the same; -0 becomes 0, as "-0" reads), in nested containers too.
QJsonValue canonicalJSONValue(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::Double: {
        // toInteger() answers the same for both defaults exactly when the number is whole
        // and fits 64 bits, by the parser's own rule; an integer stays exact (never through
        // a double, which would round one past 2^53).
        const qint64 whole = value.toInteger(0);
        return whole == value.toInteger(1) ? QJsonValue(whole) : value;
    }
    case QJsonValue::Object: {
        QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            *it = canonicalJSONValue(*it);
        return object;
    }
    case QJsonValue::Array: {
        QJsonArray array = value.toArray();
        for (auto it = array.begin(); it != array.end(); ++it)
            *it = canonicalJSONValue(*it);
        return array;
    }
    default:
        return value;
    }
}

// A property that a model's JSON key paths name and its class has, with its name and key path.
struct MappedProperty
{
    QString name;
    QMetaProperty property;
    QString keyPath;
};

QList<MappedProperty> mappedProperties(const OTModel *model)
{
    const QMetaObject *meta = model->metaObject();
    const QHash<QString, QString> map = model->JSONKeyPathsByPropertyKey();
    QList<MappedProperty> properties;
    properties.reserve(map.size());
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const int index = meta->indexOfProperty(it.key().toUtf8().constData());
        if (index >= 0)
            properties.append({it.key(), meta->property(index), it.value()});
    }
    return properties;
}

OTModelPtr fail(OTError *error, const QString &description)
{
    if (error)
        *error = OTError(OTError::Undecodable, description);
    return {};
}

} // namespace

/*!
    \class OTModel
    \inmodule OstFoundation
    \brief The base class of the JSON-mapped records, with keyed CBOR archives.

    A subclass declares its fields as Q_PROPERTYs with a setter, gives the class a Q_INVOKABLE
    constructor, overrides JSONKeyPathsByPropertyKey() and registers itself once with
    OT_REGISTER_MODEL() in its .cpp file. OstQuote is one.

    \section1 Building from JSON

    Each mapped property takes the value at its key path (\c{"a.b"} walks into nested objects)
    when that value has the JSON type the property expects: a string for QString, an object for
    QVariantMap and QJsonObject, an array for QVariantList and QJsonArray, an array of strings for
    QStringList, a number for \c int, \c qint64 and \c double, a bool for \c bool. A missing key,
    a JSON null or a value of another type leaves the property absent: a null QString, an empty
    container, zero. Keys that the map does not name are ignored.

    \section1 Archiving

    An archive is keyed CBOR: a map \c{{"class", "version", "properties"}} with every present
    mapped property under its property name. Unarchiving checks the class tag, the version and
    the type of every value; damaged or foreign bytes give an error, never a crash.
*/
OTModel::OTModel(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns the map from property name to JSON key path. The base class maps nothing; subclasses
    override it.
*/
QHash<QString, QString> OTModel::JSONKeyPathsByPropertyKey() const
{
    return {};
}

/*!
    Makes \a modelClass known to the unarchiver by its class name. OT_REGISTER_MODEL() calls it.
*/
void OTModel::registerModelClass(const QMetaObject *modelClass)
{
    Registry &r = registry();
    QMutexLocker lock(&r.mutex);
    r.classes.insert(QByteArray(modelClass->className()), modelClass);
}

/*!
    Returns a new instance of \a modelClass (an OTModel subclass with a Q_INVOKABLE constructor)
    filled from \a json, or null when the class cannot be instantiated.
*/
OTModelPtr OTModel::modelOfClass(const QMetaObject *modelClass, const QJsonObject &json)
{
    if (!modelClass || !modelClass->inherits(&OTModel::staticMetaObject))
        return {};
    registerModelClass(modelClass);
    OTModelPtr model(qobject_cast<OTModel *>(modelClass->newInstance()));
    if (!model)
        return {};
    for (const MappedProperty &mapped : mappedProperties(model.data())) {
        const QVariant value = propertyValueOf(valueAtKeyPath(json, mapped.keyPath), mapped.property.metaType());
        if (value.isValid())
            mapped.property.write(model.data(), value);
    }
    return model;
}

/*!
    Returns every mapped property at its key path; absent properties are JSON null.
*/
QJsonObject OTModel::JSONObject() const
{
    QJsonObject json;
    for (const MappedProperty &mapped : mappedProperties(this)) {
        const QVariant value = mapped.property.read(this);
        setValueAtKeyPath(json, mapped.keyPath.split(u'.'),
                          isPresent(value) ? canonicalJSONValue(QJsonValue::fromVariant(value))
                                           : QJsonValue(QJsonValue::Null));
    }
    return json;
}

/*!
    Returns whether the mapped property \a name holds a value.
*/
bool OTModel::hasValueForKey(const QString &name) const
{
    const int index = metaObject()->indexOfProperty(name.toUtf8().constData());
    return index >= 0 && isPresent(metaObject()->property(index).read(this));
}

/*!
    Returns \c true when \a other is of the same class and every mapped property is equal
    (absent equals absent only).
*/
bool OTModel::isEqualToModel(const OTModel *other) const
{
    if (!other || other->metaObject() != metaObject())
        return false;
    for (const MappedProperty &mapped : mappedProperties(this)) {
        const QVariant mine = mapped.property.read(this);
        const QVariant theirs = mapped.property.read(other);
        if (isPresent(mine) != isPresent(theirs) || mine != theirs)
            return false;
    }
    return true;
}

/*!
    Returns the record's keyed CBOR archive.
*/
QByteArray OTModel::archivedData() const
{
    QCborMap properties;
    for (const MappedProperty &mapped : mappedProperties(this)) {
        const QVariant value = mapped.property.read(this);
        if (isPresent(value))
            properties.insert(mapped.name, QCborValue::fromVariant(value));
    }
    QCborMap root;
    root.insert(kClassKey, QString::fromLatin1(metaObject()->className()));
    root.insert(kVersionKey, ArchiveVersion);
    root.insert(kPropertiesKey, properties);
    return QCborValue(QCborKnownTags::Signature, root).toCbor();
}

/*!
    Returns the record that the archive \a data holds, or null with \a error set
    (OTError::Undecodable) for damaged or foreign bytes, an unknown class, another version or a
    value of the wrong type.
*/
OTModelPtr OTModel::unarchiveObjectWithData(const QByteArray &data, OTError *error)
{
    if (data.isEmpty())
        return fail(error, QStringLiteral("empty archive"));
    QString reason;
    std::optional<QCborValue> decoded = ot_cborValueFromBytes(data, &reason);
    if (!decoded)
        return fail(error, QStringLiteral("damaged archive: %1").arg(reason));
    QCborValue value = *std::move(decoded);
    if (value.isTag() && value.tag() == QCborTag(QCborKnownTags::Signature))
        value = value.taggedValue();
    if (!value.isMap())
        return fail(error, QStringLiteral("not a keyed archive"));
    const QCborMap root = value.toMap();
    const QCborValue className = root.value(kClassKey);
    const QCborValue version = root.value(kVersionKey);
    const QCborValue properties = root.value(kPropertiesKey);
    if (!className.isString() || !version.isInteger() || !properties.isMap())
        return fail(error, QStringLiteral("not a keyed archive"));
    if (version.toInteger() < 1 || version.toInteger() > ArchiveVersion)
        return fail(error, QStringLiteral("archive version %1 is not supported").arg(version.toInteger()));
    const QMetaObject *modelClass = registeredClass(className.toString().toUtf8());
    if (!modelClass)
        return fail(error, QStringLiteral("archive of unknown class %1").arg(className.toString()));
    OTModelPtr model(qobject_cast<OTModel *>(modelClass->newInstance()));
    if (!model)
        return fail(error, QStringLiteral("class %1 cannot be instantiated").arg(className.toString()));

    const QMetaObject *meta = model->metaObject();
    const QHash<QString, QString> map = model->JSONKeyPathsByPropertyKey();
    const QCborMap values = properties.toMap();
    QSet<QString> seen;
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const QString name = it.key().toString();
        // The archiver writes each property once; a second value for one is not ours.
        if (seen.contains(name))
            return fail(error, QStringLiteral("archive of %1: property %2 appears twice").arg(className.toString(), name));
        seen.insert(name);
        if (!map.contains(name))
            continue; // written by a newer version of the class
        const int index = meta->indexOfProperty(name.toUtf8().constData());
        if (index < 0)
            continue;
        const QMetaProperty property = meta->property(index);
        const QVariant v = fromCbor(it.value(), property.metaType());
        if (!v.isValid())
            return fail(error, QStringLiteral("archive of %1: property %2 has the wrong type")
                                   .arg(className.toString(), name));
        property.write(model.data(), v);
    }
    return model;
}

/*!
    Writes the archive to \a path atomically: the file holds the previous content or the new
    one, never a mix. Returns \c false, with \a error set, when the file cannot be written.
*/
bool OTModel::archiveRootObjectToFile(const QString &path, OTError *error) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(archivedData()) < 0 || !file.commit()) {
        if (error)
            *error = OTError(OTError::FileSystem, QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
        return false;
    }
    return true;
}

/*!
    Reads an archive written by archiveRootObjectToFile() from \a path. Only a regular file of
    at most \a maxBytes is read (see ot_readRegularFile()); anything else is an
    OTError::FileSystem error in \a error, and undecodable bytes an OTError::Undecodable one.
*/
OTModelPtr OTModel::unarchiveObjectWithFile(const QString &path, OTError *error, qint64 maxBytes)
{
    const std::optional<QByteArray> bytes = ot_readRegularFile(path, maxBytes, error);
    if (!bytes)
        return {};
    return unarchiveObjectWithData(*bytes, error);
}

/*!
    \typedef OTModelPtr
    \relates OTModel

    A shared pointer to an OTModel: QSharedPointer<OTModel>.
*/

/*!
    \macro OT_REGISTER_MODEL(ClassName)
    \relates OTModel

    Makes the OTModel subclass \a ClassName known to the unarchiver when the library or program
    is loaded. Write it once, in the class's .cpp file.
*/

/*!
    \variable OTModel::ArchiveVersion

    The version written into every archive, and the only one read back.
*/

/*!
    \variable OTModel::DefaultMaxArchiveFileSize

    The largest archive file unarchiveObjectWithFile() reads by default: 1 MiB.
*/

/*!
    \fn OTModel::OTModel(QObject *parent)

    Constructs an empty record with \a parent.
*/

/*!
    \fn template <class T> QSharedPointer<T> OTModel::modelFromJSON(const QJsonObject &json)

    Returns a new \c T filled from \a json, or null.

    \sa modelOfClass()
*/

/*!
    \fn void OTModel::changed()

    This signal is emitted when any mapped property changes.
*/
