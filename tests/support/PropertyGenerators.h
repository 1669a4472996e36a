#ifndef PROPERTYGENERATORS_H
#define PROPERTYGENERATORS_H

#include <QString>

#include <cstring>
#include <limits>

#include <rapidcheck.h>

/** @file
 * Values for property tests, the awkward ones often.
 */

namespace gen {

/** A character that XML can carry, often one that is treated in some way of its own. */
inline rc::Gen<char32_t> xmlCharacter()
{
    return rc::gen::weightedOneOf<char32_t>(
        {{4, rc::gen::inRange<char32_t>(0x20, 0x7f)},
         {4, rc::gen::element<char32_t>(' ', '\t', '\n', '\r', '<', '>', '&', '"', '\'', ']')},
         {2, rc::gen::inRange<char32_t>(0x80, 0xd800)},
         {1, rc::gen::inRange<char32_t>(0xe000, 0xfffe)},
         {2, rc::gen::inRange<char32_t>(0x10000, 0x110000)}});
}

/** A text of up to all characters that XML can carry. */
inline rc::Gen<QString> xmlText()
{
    return rc::gen::map(rc::gen::container<std::u32string>(xmlCharacter()),
                        [](const std::u32string& text) { return QString::fromStdU32String(text); });
}

inline rc::Gen<int> anyInt()
{
    return rc::gen::weightedOneOf<int>(
        {{1,
          rc::gen::element(0, 1, -1, std::numeric_limits<int>::max(),
                           std::numeric_limits<int>::min())},
         {2, rc::gen::arbitrary<int>()},
         {2, rc::gen::map(rc::gen::arbitrary<quint32>(), [](quint32 bits) { return int(bits); })}});
}

/** A double of any bits: denormals, infinities, zeros of both signs and NaN included. */
inline rc::Gen<double> anyDouble()
{
    using Limits = std::numeric_limits<double>;
    return rc::gen::weightedOneOf<double>(
        {{1,
          rc::gen::element(0.0, -0.0, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
                           Limits::denorm_min(), Limits::min(), Limits::max(), 0.1, 1e23)},
         {1, rc::gen::arbitrary<double>()},
         {4,
          rc::gen::map(rc::gen::inRange<quint64>(0, std::numeric_limits<quint64>::max()),
                       [](quint64 bits) {
                           double number;
                           std::memcpy(&number, &bits, sizeof number);
                           return number;
                       })}});
}

} // namespace gen

namespace rc {

inline void showValue(const QString& text, std::ostream& out)
{
    out << '"' << text.toUtf8().toPercentEncoding(" ").constData() << '"';
}

} // namespace rc

inline void showValue(const QString& text, std::ostream& out)
{
    rc::showValue(text, out);
}

#endif
