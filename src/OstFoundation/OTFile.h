#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QByteArray>
#include <QCborValue>
#include <QString>

#include <optional>

// Small files that the apps keep (archives, settings) are read whole.
OSTFOUNDATION_EXPORT std::optional<QByteArray> ot_readRegularFile(const QString &path, qint64 maxBytes,
                                                                  OTError *error = nullptr);

// "1 MiB", "512 KiB", "300 bytes": a byte count as the messages above write it.
OSTFOUNDATION_EXPORT QString ot_byteCountDescription(qint64 bytes);

// The one CBOR data item that `bytes` hold, or nothing with `reason` set ("not CBOR: ...", "3
// bytes after the end of the data").
OSTFOUNDATION_EXPORT std::optional<QCborValue> ot_cborValueFromBytes(const QByteArray &bytes, QString *reason);
