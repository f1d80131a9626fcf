#include "ZipArchive.h"

#include "TARMOError.h"

#include <QFile>

#include <zip.h>

#include <memory>

namespace word {

namespace {

[[noreturn]] void fail(const QString& text) {
    throw TARMOError(TARMOErrors::InvalidProcedureCall, QStringLiteral("Zip"), text);
}

QString errorText(zip_error_t* error) {
    return QString::fromUtf8(zip_error_strerror(error));
}

} // namespace

ZipEntries ReadZip(const QString& path) {
    int code = 0;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &code);
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const QString text = errorText(&error);
        zip_error_fini(&error);
        fail(path + QStringLiteral(" could not be opened as a zip file: ") + text);
    }
    std::unique_ptr<zip_t, decltype(&zip_discard)> guard(archive, &zip_discard);
    ZipEntries entries;
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_int64_t n = 0; n < count; ++n) {
        zip_stat_t stat;
        if (zip_stat_index(archive, zip_uint64_t(n), 0, &stat) != 0)
            fail(path + QStringLiteral(": ") + QString::fromUtf8(zip_strerror(archive)));
        zip_file_t* file = zip_fopen_index(archive, zip_uint64_t(n), 0);
        if (!file)
            fail(path + QStringLiteral(": ") + QString::fromUtf8(zip_strerror(archive)));
        QByteArray data(qsizetype(stat.size), Qt::Uninitialized);
        const zip_int64_t read = zip_fread(file, data.data(), stat.size);
        zip_fclose(file);
        if (read < 0 || zip_uint64_t(read) != stat.size)
            fail(path + QStringLiteral(": an entry could not be read"));
        entries.append({QString::fromUtf8(stat.name), data});
    }
    return entries;
}

QByteArray BuildZip(const ZipEntries& entries) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (!buffer)
        fail(errorText(&error));
    // The buffer outlives the archive: closing the archive writes into it, and it is read after.
    zip_source_keep(buffer);
    std::unique_ptr<zip_source_t, decltype(&zip_source_free)> bufferGuard(buffer, &zip_source_free);
    zip_t* archive = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
    if (!archive)
        fail(errorText(&error));
    for (const auto& [name, data] : entries) {
        zip_source_t* source = zip_source_buffer(archive, data.constData(), zip_uint64_t(data.size()), 0);
        if (!source || zip_file_add(archive, name.toUtf8().constData(), source, ZIP_FL_ENC_UTF_8) < 0) {
            if (source)
                zip_source_free(source);
            const QString text = QString::fromUtf8(zip_strerror(archive));
            zip_discard(archive);
            fail(text);
        }
    }
    if (zip_close(archive) != 0) {
        const QString text = QString::fromUtf8(zip_strerror(archive));
        zip_discard(archive);
        fail(text);
    }
    if (zip_source_open(buffer) != 0)
        fail(QStringLiteral("The zip buffer could not be read."));
    zip_source_seek(buffer, 0, SEEK_END);
    const zip_int64_t size = zip_source_tell(buffer);
    zip_source_seek(buffer, 0, SEEK_SET);
    QByteArray bytes(qsizetype(size), Qt::Uninitialized);
    const zip_int64_t read = zip_source_read(buffer, bytes.data(), zip_uint64_t(size));
    zip_source_close(buffer);
    if (read != size)
        fail(QStringLiteral("The zip buffer could not be read."));
    return bytes;
}

} // namespace word
