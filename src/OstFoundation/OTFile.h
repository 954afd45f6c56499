#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QByteArray>
#include <QCborValue>
#include <QString>

#include <optional>

// Small files that the apps keep (archives, settings) are read whole. Only a regular file is
// read, a symbolic link being followed to one: a FIFO, a device or a directory in its place
// would block the reader or hand it endless bytes, so it is refused without being opened for
// a blocking read. A file larger than `maxBytes` is refused too, before it is read.
//
// Returns the bytes, or nothing with `error` set: FileSystem, its description naming the
// path and what stands there ("not a regular file (a FIFO)", "larger than 1 MiB", or the
// system's reason).
OSTFOUNDATION_EXPORT std::optional<QByteArray> ot_readRegularFile(const QString &path, qint64 maxBytes,
                                                                  OTError *error = nullptr);

// "1 MiB", "512 KiB", "300 bytes": a byte count as the messages above write it.
OSTFOUNDATION_EXPORT QString ot_byteCountDescription(qint64 bytes);

// The one CBOR data item that `bytes` hold, or nothing with `reason` set ("not CBOR: ...",
// "3 bytes after the end of the data"). Bytes after the item make the whole undecodable:
// what a writer of one item left there was damaged since, and reading only the part that
// still parses would lose the rest when the file is next written.
OSTFOUNDATION_EXPORT std::optional<QCborValue> ot_cborValueFromBytes(const QByteArray &bytes, QString *reason);
