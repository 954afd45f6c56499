// The keyed CBOR archive: any bytes either give an error or a record; a record that came
// out of an archive keeps every scalar it was given exactly, and goes through its own
// archive unchanged.

#include "FuzzRecord.h"
#include "ModelChecks.h"

#include <OstQuote.h>

#include <QCborMap>
#include <QCborValue>
#include <QMetaProperty>

#include <cstddef>
#include <cstdint>

OT_REGISTER_MODEL(FuzzRecord)

namespace {

// The scalar properties of an unarchived record hold exactly what the archive said: a
// value that does not fit its property is an error, never a different value.
void checkScalarsKept(const OTModel &model, const QByteArray &bytes)
{
    QCborValue root = QCborValue::fromCbor(bytes);
    if (root.isTag())
        root = root.taggedValue();
    // A key written twice counts with its last value, as it does when unarchiving.
    QHash<QString, QCborValue> properties;
    const QCborMap written = root.toMap().value(QStringLiteral("properties")).toMap();
    for (auto it = written.cbegin(); it != written.cend(); ++it)
        properties.insert(it.key().toString(), it.value());
    const QMetaObject *meta = model.metaObject();
    const QHash<QString, QString> map = model.JSONKeyPathsByPropertyKey();
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        const QString &name = it.key();
        if (!map.contains(name))
            continue;
        const QMetaProperty property = meta->property(meta->indexOfProperty(name.toUtf8().constData()));
        const QVariant value = property.read(&model);
        const QCborValue &given = it.value();
        const QString detail = QStringLiteral("%1: archive %2, record %3")
                                   .arg(name, given.toDiagnosticNotation(), value.toString());
        switch (property.metaType().id()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            FUZZ_CHECK(given.isInteger() && value.toLongLong() == given.toInteger(), detail);
            break;
        case QMetaType::Bool:
            FUZZ_CHECK(given.isBool() && value.toBool() == given.toBool(), detail);
            break;
        case QMetaType::QString:
            FUZZ_CHECK(given.isString() && value.toString() == given.toString(), detail);
            break;
        default:
            break;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    OTModel::registerModelClass(&OstQuote::staticMetaObject);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    OTError error;
    const OTModelPtr model = OTModel::unarchiveObjectWithData(bytes, &error);
    if (!model) {
        FUZZ_CHECK(error.kind() == OTError::Undecodable && !error.description().isEmpty(), fuzzPrintable(bytes));
        return 0;
    }
    FUZZ_CHECK(!error, error.description());
    checkScalarsKept(*model, bytes);
    checkArchiveRoundTrip(*model);
    return 0;
}
