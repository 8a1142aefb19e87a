// SPDX-License-Identifier: MIT
/**
 * @file qelutf.hpp
 * @brief Conversions between std::string (UTF-8), std::u16string and
 * std::u32string for C++17 callers, header-only, on the exported functions of
 * qelstr.h.
 *
 * Each conversion takes a string view and returns a qel::converted: the
 * converted text, the qelStrStatus of the conversion and, for ill-formed
 * input, the position of the first ill-formed character in units of the
 * input. The plain functions throw nothing: a failed allocation is reported
 * as qelStrNoMemory. The functions whose names end in _or_throw return the
 * text alone and throw qel::ill_formed or std::bad_alloc instead.
 *
 * The rules are those of the allocating conversions (@ref qelutf_alloc): strict
 * validation, embedded control sequences carried whole in the standard form
 * on the UTF-8 side. Unlike the C functions, zero units do not end the
 * input: they are converted like any other character. Inputs longer than
 * 2^30 units are converted in pieces cut at character boundaries; an
 * embedded control sequence that straddles such a cut is converted as
 * ordinary text (which gives the same units in the standard form).
 *
 * @code
 * auto r = qel::utf8_to_utf16("text");               // r.ok(), r.text == u"text"
 * const std::string bytes = {'a', 'b', char(0xFF)};
 * auto bad = qel::utf8_to_utf32(bytes);              // bad.status == qelStrBadInput,
 *                                                    // bad.text == U"ab", bad.fault == 2
 * std::string s = qel::utf16_to_utf8_or_throw(u"ok"); // throws qel::ill_formed on a fault
 * @endcode
 */
#ifndef QEL_QELUTF_HPP
#define QEL_QELUTF_HPP

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qelstr.h"

/** C++ conversions between the standard string types. */
namespace qel {

/**
 * @brief The result of a conversion: text, status and fault position.
 * @tparam String std::string, std::u16string or std::u32string.
 */
template <class String>
struct converted {
    /** Position value meaning "no fault". */
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    /** The converted text; with qelStrBadInput the conversion of everything
     * before the fault, with qelStrNoMemory empty. */
    String text;
    /** qelStrOk, qelStrBadInput or qelStrNoMemory. */
    qelStrStatus status = qelStrOk;
    /** With qelStrBadInput, the offset in input units of the first unit of
     * the first ill-formed character; npos otherwise. */
    std::size_t fault = npos;

    /** @brief Whether the whole input was converted.
     *  @return status == qelStrOk. */
    bool ok() const noexcept { return status == qelStrOk; }
};

/** @brief Thrown by the _or_throw conversions for ill-formed input. */
class ill_formed : public std::runtime_error {
public:
    /** @brief Builds the error for a fault at @p position input units.
     *  @param position Offset of the first ill-formed character, in input units. */
    explicit ill_formed(std::size_t position)
        : std::runtime_error("qelutf: ill-formed input at unit " + std::to_string(position)), position_(position) {}
    /** @brief The offset of the first ill-formed character, in input units.
     *  @return The offset. */
    std::size_t position() const noexcept { return position_; }

private:
    std::size_t position_;
};

/// @cond internal
namespace detail {

// The C interface's unit of each encoding: UTF-32 is unsigned int there.
template <class C> struct unit { using type = C; };
template <> struct unit<char32_t> { using type = unsigned int; };
static_assert(sizeof(char32_t) == sizeof(unsigned int), "UTF-32 units are 32 bits wide");

// Bounded conversion and reverse length query of one encoding pair, and the
// most output units one input unit can need.
template <class From, class To> struct pair;
#define QEL_HPP_PAIR(F, T, conv, back, grow_)                                                       \
    template <> struct pair<F, T> {                                                                \
        static constexpr std::size_t grow = grow_;                                                 \
        static qelStrStatus run(unit<T>::type* out, unsigned int size, unsigned int* len,          \
                                const unit<F>::type* in, unsigned int n) noexcept {                \
            return conv(out, size, len, in, n);                                                    \
        }                                                                                          \
        static unsigned int measure_back(const unit<T>::type* text, unsigned int n) noexcept {     \
            unsigned int len = 0;                                                                  \
            back(nullptr, 0, &len, text, n);                                                       \
            return len;                                                                            \
        }                                                                                          \
    };
QEL_HPP_PAIR(char, char16_t, qelStrUtf8ToUtf16, qelStrUtf16ToUtf8, 1)
QEL_HPP_PAIR(char, char32_t, qelStrUtf8ToUtf32, qelStrUtf32ToUtf8, 1)
QEL_HPP_PAIR(char16_t, char, qelStrUtf16ToUtf8, qelStrUtf8ToUtf16, 3)
QEL_HPP_PAIR(char16_t, char32_t, qelStrUtf16ToUtf32, qelStrUtf32ToUtf16, 1)
QEL_HPP_PAIR(char32_t, char, qelStrUtf32ToUtf8, qelStrUtf8ToUtf32, 4)
QEL_HPP_PAIR(char32_t, char16_t, qelStrUtf32ToUtf16, qelStrUtf16ToUtf32, 2)
#undef QEL_HPP_PAIR

// Pieces stay below 2^30 units so that the largest output, four units per
// input unit, and its terminator fit the 32-bit sizes of the C interface.
constexpr std::size_t piece_limit = std::size_t(1) << 30;

// Where a piece that must end by `limit` ends: not inside a character.
inline std::size_t piece_end(const char* s, std::size_t limit) noexcept {
    std::size_t end = limit;
    for (int back = 0; back < 3 && (static_cast<unsigned char>(s[end]) & 0xC0u) == 0x80u; ++back) --end;
    return end;
}
inline std::size_t piece_end(const char16_t* s, std::size_t limit) noexcept {
    return (s[limit - 1] >= 0xD800 && s[limit - 1] <= 0xDBFF) ? limit - 1 : limit;
}
inline std::size_t piece_end(const char32_t*, std::size_t limit) noexcept { return limit; }

// The C interface reads and writes UTF-32 as unsigned int; char32_t text is
// copied across rather than accessed through the other type.
template <class C> struct staged {
    using U = typename unit<C>::type;
    std::vector<U> units;
    const U* in(const C* s, std::size_t n) {
        if constexpr (std::is_same_v<U, C>) {
            return s;
        } else {
            units.resize(n);
            if (n != 0) std::memcpy(units.data(), s, n * sizeof(U));
            return units.data();
        }
    }
};

template <class From, class To>
converted<std::basic_string<To>> convert(std::basic_string_view<From> in) noexcept {
    using P = pair<From, To>;
    using U = typename unit<To>::type;
    converted<std::basic_string<To>> r;
    try {
        std::vector<U> buf;
        staged<From> src;
        std::size_t at = 0;
        while (at < in.size()) {
            // A zero unit ends the C functions' input: convert up to it, then carry it over.
            const std::size_t zero = in.find(From(0), at);
            const std::size_t stop = zero == in.npos ? in.size() : zero;
            while (at < stop) {
                std::size_t n = stop - at;
                if (n > piece_limit) n = piece_end(in.data() + at, piece_limit);
                buf.resize(n * P::grow + 1);
                const auto* text = src.in(in.data() + at, n);
                unsigned int len = 0;
                const qelStrStatus st = P::run(buf.data(), static_cast<unsigned int>(buf.size()), &len, text,
                                               static_cast<unsigned int>(n));
                const std::size_t old = r.text.size();
                r.text.resize(old + len);
                if (len != 0) std::memcpy(&r.text[old], buf.data(), len * sizeof(U));
                if (st != qelStrOk) {
                    r.status = st;
                    if (st == qelStrBadInput) r.fault = at + P::measure_back(buf.data(), len);
                    return r;
                }
                at += n;
            }
            if (zero != in.npos) {
                r.text.push_back(To(0));
                at = zero + 1;
            }
        }
    } catch (const std::bad_alloc&) {
        r.text = std::basic_string<To>();
        r.status = qelStrNoMemory;
        r.fault = r.npos;
    }
    return r;
}

template <class String>
String value_or_throw(converted<String>&& r) {
    if (r.status == qelStrBadInput) throw ill_formed(r.fault);
    if (r.status == qelStrNoMemory) throw std::bad_alloc();
    return std::move(r.text);
}

}  // namespace detail
/// @endcond

/** @brief UTF-8 to UTF-16.
 *  @param in UTF-8 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in bytes) or qelStrNoMemory. */
inline converted<std::u16string> utf8_to_utf16(std::string_view in) noexcept {
    return detail::convert<char, char16_t>(in);
}
/** @brief UTF-8 to UTF-32.
 *  @param in UTF-8 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in bytes) or qelStrNoMemory. */
inline converted<std::u32string> utf8_to_utf32(std::string_view in) noexcept {
    return detail::convert<char, char32_t>(in);
}
/** @brief UTF-16 to UTF-8.
 *  @param in UTF-16 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in 16-bit units) or qelStrNoMemory. */
inline converted<std::string> utf16_to_utf8(std::u16string_view in) noexcept {
    return detail::convert<char16_t, char>(in);
}
/** @brief UTF-16 to UTF-32.
 *  @param in UTF-16 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in 16-bit units) or qelStrNoMemory. */
inline converted<std::u32string> utf16_to_utf32(std::u16string_view in) noexcept {
    return detail::convert<char16_t, char32_t>(in);
}
/** @brief UTF-32 to UTF-8.
 *  @param in UTF-32 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in 32-bit units) or qelStrNoMemory. */
inline converted<std::string> utf32_to_utf8(std::u32string_view in) noexcept {
    return detail::convert<char32_t, char>(in);
}
/** @brief UTF-32 to UTF-16.
 *  @param in UTF-32 text; zero units are converted too.
 *  @return The text, qelStrOk, qelStrBadInput (with the fault in 32-bit units) or qelStrNoMemory. */
inline converted<std::u16string> utf32_to_utf16(std::u32string_view in) noexcept {
    return detail::convert<char32_t, char16_t>(in);
}

/** @brief UTF-8 to UTF-16, throwing.
 *  @param in UTF-8 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::u16string utf8_to_utf16_or_throw(std::string_view in) {
    return detail::value_or_throw(utf8_to_utf16(in));
}
/** @brief UTF-8 to UTF-32, throwing.
 *  @param in UTF-8 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::u32string utf8_to_utf32_or_throw(std::string_view in) {
    return detail::value_or_throw(utf8_to_utf32(in));
}
/** @brief UTF-16 to UTF-8, throwing.
 *  @param in UTF-16 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::string utf16_to_utf8_or_throw(std::u16string_view in) {
    return detail::value_or_throw(utf16_to_utf8(in));
}
/** @brief UTF-16 to UTF-32, throwing.
 *  @param in UTF-16 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::u32string utf16_to_utf32_or_throw(std::u16string_view in) {
    return detail::value_or_throw(utf16_to_utf32(in));
}
/** @brief UTF-32 to UTF-8, throwing.
 *  @param in UTF-32 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::string utf32_to_utf8_or_throw(std::u32string_view in) {
    return detail::value_or_throw(utf32_to_utf8(in));
}
/** @brief UTF-32 to UTF-16, throwing.
 *  @param in UTF-32 text.
 *  @return The whole conversion.
 *  @throws ill_formed for ill-formed input; std::bad_alloc when memory ran out. */
inline std::u16string utf32_to_utf16_or_throw(std::u32string_view in) {
    return detail::value_or_throw(utf32_to_utf16(in));
}

}  // namespace qel

#endif  // QEL_QELUTF_HPP
