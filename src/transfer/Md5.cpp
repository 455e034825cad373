#include "transfer/Md5.h"
#include <openssl/evp.h>
#include <QCryptographicHash>

namespace
{
EVP_MD_CTX *of(void *context) { return static_cast<EVP_MD_CTX *>(context); }
} // namespace

void Md5::End::operator()(void *context) const { EVP_MD_CTX_free(of(context)); }

Md5::Md5() : m_context(EVP_MD_CTX_new())
{
    if (!m_context || EVP_DigestInit_ex(of(m_context.get()), EVP_md5(), nullptr) != 1)
        m_own = std::make_unique<QCryptographicHash>(QCryptographicHash::Md5);
}

Md5::~Md5() = default;

void Md5::add(const char *data, qint64 length)
{
    if (m_own)
        m_own->addData(QByteArray::fromRawData(data, int(length)));
    else
        m_good = m_good && EVP_DigestUpdate(of(m_context.get()), data, size_t(length)) == 1;
}

QString Md5::hex()
{
    if (m_own)
        return QString::fromLatin1(m_own->result().toHex());
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (!m_good || EVP_DigestFinal_ex(of(m_context.get()), digest, &length) != 1)
        return {};
    m_good = false;
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char *>(digest), int(length)).toHex());
}
