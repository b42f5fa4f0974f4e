#include "onuqos/rpc/serverXdr.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace {

/// A char travels as the int that it converts to, so 0x80 as 0xFFFFFF80. Written so that compilers do sixteen
/// at a time, which they do not with htonl of the int.
void encodeChars(std::int32_t* buffer, const char* elements, u_int count) {
    std::transform(elements, elements + count, buffer, [](char element) {
        const std::uint32_t low = htonl(1) * static_cast<unsigned char>(element);
        const std::uint32_t sign = static_cast<std::uint32_t>(element >> 7) & htonl(0xFFFFFF00);
        return static_cast<std::int32_t>(low | sign);
    });
}

/// Takes the low byte of each item. Goes by bytes: where a peer splits a record into odd fragments, the items
/// of a stream lie on odd addresses.
void decodeChars(const std::int32_t* buffer, char* elements, u_int count) {
    const char* lowByte = reinterpret_cast<const char*>(buffer) + BYTES_PER_XDR_UNIT - 1;
    for (std::size_t i = 0; i < count; ++i) {
        elements[i] = lowByte[i * BYTES_PER_XDR_UNIT];
    }
}

/// Bytes that are reserved for a string before any of it is there.
constexpr std::size_t kFirstPiece = 65'536;

/// As the library allocates it.
using Text = std::unique_ptr<char, decltype([](char* text) { std::free(text); })>;

}  // namespace

bool_t onuqos_xdr_vector(XDR* xdrs, char* elements, u_int count, u_int size, xdrproc_t routine) {
    if (routine == reinterpret_cast<xdrproc_t>(xdr_char)) {
        if (xdrs->x_op == XDR_FREE) {
            return TRUE;  // an array in its record holds nothing else
        }
        // Null where the transport has no such run of bytes at hand; the library then goes element by
        // element.
        if (std::int32_t* buffer = XDR_INLINE(xdrs, count * BYTES_PER_XDR_UNIT); buffer != nullptr) {
            if (xdrs->x_op == XDR_ENCODE) {
                encodeChars(buffer, elements, count);
            } else {
                decodeChars(buffer, elements, count);
            }
            return TRUE;
        }
    }
    return xdr_vector(xdrs, elements, count, size, routine);
}

bool_t onuqos_xdr_string(XDR* xdrs, char** string, u_int maxSize) {
    if (xdrs->x_op != XDR_DECODE) {
        return xdr_string(xdrs, string, maxSize);
    }
    u_int length = 0;
    if (!xdr_u_int(xdrs, &length) || length > maxSize) {
        return FALSE;
    }
    Text text;
    std::size_t room = 0;
    for (std::size_t have = 0; have < length || text == nullptr; have = room) {
        room = std::min<std::size_t>(length, std::max(2 * have, kFirstPiece));
        auto* grown = static_cast<char*>(std::realloc(text.get(), room + 1));
        if (grown == nullptr) {
            return FALSE;
        }
        static_cast<void>(text.release());
        text.reset(grown);
        if (!XDR_GETBYTES(xdrs, grown + have, static_cast<u_int>(room - have))) {
            return FALSE;
        }
    }
    text.get()[length] = '\0';
    std::array<char, BYTES_PER_XDR_UNIT> padding{};
    if (!XDR_GETBYTES(xdrs, padding.data(), -length % BYTES_PER_XDR_UNIT)) {
        return FALSE;
    }
    *string = text.release();
    return TRUE;
}

bool_t onuqos_xdr_wrapstring(XDR* xdrs, char** string) {
    return onuqos_xdr_string(xdrs, string, std::numeric_limits<u_int>::max());
}
