// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Storage/VaultCipher.h>

#include <sodium.h>

#include <algorithm>
#include <new>
#include <span>
#include <tuple>

namespace corvane {

namespace {

using Key = std::array<unsigned char, 32>;

constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t overhead = nonceSize + crypto_aead_xchacha20poly1305_ietf_ABYTES;
static_assert(sizeof(Key) == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);
static_assert(VaultCipher::keySize == crypto_kdf_KEYBYTES);

const unsigned char* bytesOf(DataView view)
{
    return reinterpret_cast<const unsigned char*>(view.data());
}

Data sealWith(const Key& key, DataView bound, DataView plain)
{
    Data box(plain.size() + overhead);
    auto* const out = reinterpret_cast<unsigned char*>(box.data());
    randombytes_buf(out, nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(out + nonceSize, nullptr, bytesOf(plain), plain.size(),
                                               bytesOf(bound), bound.size(), nullptr, out, key.data());
    return box;
}

std::optional<SecretBytes> openWith(const Key& key, DataView bound, DataView box)
{
    if (box.size() < overhead)
        return std::nullopt;
    SecretBytes plain(box.size() - overhead);
    auto* const out = reinterpret_cast<unsigned char*>(plain.bytes().data());
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(out, nullptr, nullptr, bytesOf(box) + nonceSize,
                                                   box.size() - nonceSize, bytesOf(bound), bound.size(),
                                                   bytesOf(box), key.data()) != 0)
        return std::nullopt;
    return plain;
}

class KeyedHash {
public:
    explicit KeyedHash(const Key& key)
    {
        crypto_generichash_init(&state_, key.data(), key.size(), std::tuple_size_v<VaultHash>);
    }
    KeyedHash& add(DataView bytes)
    {
        crypto_generichash_update(&state_, bytesOf(bytes), bytes.size());
        return *this;
    }
    // The length first, or "ab" and "c" would hash as "a" and "bc" do.
    KeyedHash& addText(std::string_view text)
    {
        const std::uint64_t length = text.size();
        return add(std::as_bytes(std::span(&length, 1))).add(std::as_bytes(std::span(text)));
    }
    VaultHash value()
    {
        VaultHash hash;
        crypto_generichash_final(&state_, reinterpret_cast<unsigned char*>(hash.data()), hash.size());
        return hash;
    }

private:
    crypto_generichash_state state_;
};

std::array<std::byte, 2 * std::tuple_size_v<VaultHash>> joined(const VaultPlace& place)
{
    std::array<std::byte, 2 * std::tuple_size_v<VaultHash>> bytes;
    std::copy(place.pair.begin(), place.pair.end(), bytes.begin());
    std::copy(place.place.begin(), place.place.end(), bytes.begin() + place.pair.size());
    return bytes;
}

} // namespace

struct VaultCipher::Keys {
    Key pairs, places, boxes, marks, state, check;
};

VaultCipher::VaultCipher(DataView key) : keys_(nullptr, [](Keys* keys) { sodium_free(keys); })
{
    precondition(key.size() == keySize, "A vault's key has 32 bytes");
    if (sodium_init() < 0)
        fatalError("The system gives no random numbers");
    keys_.reset(static_cast<Keys*>(sodium_malloc(sizeof(Keys))));
    if (!keys_)
        throw std::bad_alloc();
    std::uint64_t number = 0;
    for (Key* const sub :
         {&keys_->pairs, &keys_->places, &keys_->boxes, &keys_->marks, &keys_->state, &keys_->check})
        crypto_kdf_derive_from_key(sub->data(), sub->size(), ++number, "CorvVlt1", bytesOf(key));
    sodium_mprotect_readonly(keys_.get());
}

VaultCipher::~VaultCipher() = default;

SecretBytes VaultCipher::makeKey()
{
    if (sodium_init() < 0)
        fatalError("The system gives no random numbers");
    SecretBytes key(keySize);
    crypto_kdf_keygen(reinterpret_cast<unsigned char*>(key.bytes().data()));
    return key;
}

VaultHash VaultCipher::pairOf(std::string_view service, std::string_view account) const
{
    return KeyedHash(keys_->pairs).addText(service).addText(account).value();
}

VaultPlace VaultCipher::placeOf(std::string_view service, std::string_view account,
                                std::string_view accessGroup) const
{
    return {pairOf(service, account),
            KeyedHash(keys_->places).addText(service).addText(account).addText(accessGroup).value()};
}

Data VaultCipher::seal(const VaultPlace& place, DataView plain) const
{
    return sealWith(keys_->boxes, joined(place), plain);
}

std::optional<SecretBytes> VaultCipher::open(const VaultPlace& place, DataView box) const
{
    return openWith(keys_->boxes, joined(place), box);
}

VaultHash VaultCipher::markOf(const VaultPlace& place, DataView box) const
{
    return KeyedHash(keys_->marks).add(joined(place)).add(box).value();
}

Data VaultCipher::sealState(const VaultHash& sumOfMarks) const
{
    return sealWith(keys_->state, {}, sumOfMarks);
}

std::optional<VaultHash> VaultCipher::openState(DataView box) const
{
    const std::optional<SecretBytes> plain = openWith(keys_->state, {}, box);
    VaultHash sum;
    if (!plain || plain->view().size() != sum.size())
        return std::nullopt;
    std::copy(plain->view().begin(), plain->view().end(), sum.begin());
    return sum;
}

VaultHash VaultCipher::check() const
{
    VaultHash hash;
    std::copy_n(reinterpret_cast<const std::byte*>(keys_->check.data()), hash.size(), hash.begin());
    return hash;
}

} // namespace corvane
