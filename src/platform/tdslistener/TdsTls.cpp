#include "TdsTls.h"

#include "TARMOError.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QSysInfo>

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace {

const QString kSource = QStringLiteral("TdsTls");

QString opensslError() {
    const unsigned long code = ERR_get_error();
    if (code == 0)
        return QStringLiteral("unknown TLS failure");
    char text[256] = {};
    ERR_error_string_n(code, text, sizeof text);
    ERR_clear_error();
    return QString::fromLatin1(text);
}

template <typename T, void (*Free)(T*)> struct Deleter {
    void operator()(T* p) const { Free(p); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY, EVP_PKEY_free>>;
using X509Ptr = std::unique_ptr<X509, Deleter<X509, X509_free>>;
using BioPtr = std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>>;

// A self-signed certificate for the host name, good for ten years, with its key, as PEM.
QByteArray makeCertificate() {
    const PkeyPtr key(EVP_EC_gen("P-256"));
    const X509Ptr cert(X509_new());
    if (!key || !cert)
        throw TARMOError(10, kSource, QStringLiteral("Can't make a key: %1").arg(opensslError()));
    X509_set_version(cert.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert.get()),
                     long(QDateTime::currentSecsSinceEpoch() & 0x7FFFFFFF));
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 10L * 365 * 24 * 3600);
    X509_set_pubkey(cert.get(), key.get());
    X509_NAME* name = X509_get_subject_name(cert.get());
    const QByteArray host = QSysInfo::machineHostName().toUtf8();
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_UTF8,
        reinterpret_cast<const unsigned char*>(host.isEmpty() ? "localhost" : host.constData()), -1, -1, 0);
    X509_set_issuer_name(cert.get(), name);
    // Clients that check the name find the host's, and the loopback's for local use.
    const QByteArray names = QByteArrayLiteral("DNS:localhost,IP:127.0.0.1,IP:::1") +
                             (host.isEmpty() ? QByteArray() : QByteArrayLiteral(",DNS:") + host);
    X509_EXTENSION* alt = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, names.constData());
    if (alt) {
        X509_add_ext(cert.get(), alt, -1);
        X509_EXTENSION_free(alt);
    }
    if (X509_sign(cert.get(), key.get(), EVP_sha256()) == 0)
        throw TARMOError(10, kSource, QStringLiteral("Can't sign the certificate: %1").arg(opensslError()));
    const BioPtr out(BIO_new(BIO_s_mem()));
    if (!PEM_write_bio_PrivateKey(out.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) ||
        !PEM_write_bio_X509(out.get(), cert.get()))
        throw TARMOError(10, kSource, QStringLiteral("Can't write the certificate: %1").arg(opensslError()));
    char* data = nullptr;
    const long size = BIO_get_mem_data(out.get(), &data);
    return {data, qsizetype(size)};
}

// TDS 8 clients name their protocol in the handshake.
int selectProtocol(SSL* /*ssl*/, const unsigned char** out, unsigned char* outLength, const unsigned char* in,
                   unsigned int inLength, void* /*arg*/) {
    static const unsigned char tds8[] = {7, 't', 'd', 's', '/', '8', '.', '0'};
    unsigned char* selected = nullptr;
    if (SSL_select_next_proto(&selected, outLength, tds8, sizeof tds8, in, inLength) !=
        OPENSSL_NPN_NEGOTIATED)
        return SSL_TLSEXT_ERR_NOACK;
    *out = selected;
    return SSL_TLSEXT_ERR_OK;
}

} // namespace

QString TdsTlsContext::CertificatePath(const QString& folder) {
    return QDir(folder).filePath(QStringLiteral("tarmo-server.pem"));
}

TdsTlsContext::TdsTlsContext(const QString& folder) {
    const QString path = CertificatePath(folder);
    QFile existing(path);
    QByteArray pem;
    if (existing.open(QIODevice::ReadOnly)) {
        pem = existing.readAll();
    } else if (existing.exists()) {
        // Another user's, in a folder a group shares: theirs stays.
        throw TARMOError(12, kSource, QStringLiteral("Can't read the certificate '%1'.").arg(path));
    } else {
        pem = makeCertificate();
        // Written whole or not at all; only the owner may read the key.
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) ||
            !file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) ||
            file.write(pem) != pem.size() || !file.commit())
            throw TARMOError(11, kSource, QStringLiteral("Can't write the certificate '%1'.").arg(path));
    }
    const BioPtr in(BIO_new_mem_buf(pem.constData(), int(pem.size())));
    const PkeyPtr key(PEM_read_bio_PrivateKey(in.get(), nullptr, nullptr, nullptr));
    const X509Ptr cert(PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr));
    if (!key || !cert)
        throw TARMOError(12, kSource,
                         QStringLiteral("'%1' holds no key and certificate: %2").arg(path, opensslError()));
    mContext = SSL_CTX_new(TLS_server_method());
    if (!mContext || SSL_CTX_use_certificate(mContext, cert.get()) != 1 ||
        SSL_CTX_use_PrivateKey(mContext, key.get()) != 1 || SSL_CTX_check_private_key(mContext) != 1) {
        const QString why = opensslError();
        SSL_CTX_free(mContext);
        throw TARMOError(12, kSource, QStringLiteral("Can't use the certificate '%1': %2").arg(path, why));
    }
    SSL_CTX_set_min_proto_version(mContext, TLS1_2_VERSION);
    SSL_CTX_set_alpn_select_cb(mContext, selectProtocol, nullptr);
    // Tickets would follow the handshake while the client still expects it in PRELOGIN packets.
    SSL_CTX_set_num_tickets(mContext, 0);
}

TdsTlsContext::~TdsTlsContext() {
    SSL_CTX_free(mContext);
}

TdsTlsChannel::TdsTlsChannel(TdsChannel& raw, const TdsTlsContext& context, bool wrapped)
    : mRaw(raw)
    , mSsl(SSL_new(context.Handle())) {
    if (!mSsl)
        return;
    SSL_set_bio(mSsl, BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
    SSL_set_accept_state(mSsl);
    if (wrapped)
        SSL_set_max_proto_version(mSsl, TLS1_2_VERSION);
}

TdsTlsChannel::~TdsTlsChannel() {
    SSL_free(mSsl);
}

bool TdsTlsChannel::Handshake(const QByteArray& fromClient) {
    if (!mSsl)
        return false;
    if (!fromClient.isEmpty())
        BIO_write(SSL_get_rbio(mSsl), fromClient.constData(), int(fromClient.size()));
    const int result = SSL_do_handshake(mSsl);
    if (result == 1)
        return true;
    const int error = SSL_get_error(mSsl, result);
    if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE)
        return true;
    mFailure = opensslError();
    return false;
}

bool TdsTlsChannel::Done() const {
    return mSsl && SSL_is_init_finished(mSsl);
}

QByteArray TdsTlsChannel::TakeOutput() {
    QByteArray out;
    if (!mSsl)
        return out;
    BIO* wbio = SSL_get_wbio(mSsl);
    char buffer[16384];
    for (int n = 0; (n = BIO_read(wbio, buffer, int(sizeof buffer))) > 0;)
        out.append(buffer, n);
    return out;
}

qsizetype TdsTlsChannel::Read(char* into, qsizetype count, int timeoutMs) {
    for (;;) {
        const int n = SSL_read(mSsl, into, int(std::min<qsizetype>(count, 1 << 30)));
        if (n > 0)
            return n;
        const int error = SSL_get_error(mSsl, n);
        // Alerts and key updates may want an answer.
        const QByteArray answer = TakeOutput();
        if (!answer.isEmpty() && !mRaw.Write(answer.constData(), answer.size()))
            return 0;
        if (error != SSL_ERROR_WANT_READ)
            return 0;
        char buffer[16384];
        const qsizetype got = mRaw.Read(buffer, sizeof buffer, timeoutMs);
        if (got <= 0)
            return got;
        BIO_write(SSL_get_rbio(mSsl), buffer, int(got));
    }
}

bool TdsTlsChannel::Write(const char* data, qsizetype count) {
    while (count > 0) {
        const int chunk = int(std::min<qsizetype>(count, 16384));
        if (SSL_write(mSsl, data, chunk) != chunk)
            return false;
        const QByteArray records = TakeOutput();
        if (!mRaw.Write(records.constData(), records.size()))
            return false;
        data += chunk;
        count -= chunk;
    }
    return true;
}

bool TdsTlsChannel::Readable() {
    return SSL_pending(mSsl) > 0 || BIO_ctrl_pending(SSL_get_rbio(mSsl)) > 0 || mRaw.Readable();
}
