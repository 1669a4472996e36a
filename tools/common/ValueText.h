#ifndef VALUETEXT_H
#define VALUETEXT_H

#include <MivoArg.h>

#include <QStringList>

#include <stdexcept>

/**
 * @file
 * Values as they are written on the command line: KIND:TEXT.
 *
 *     none                      the empty value
 *     int:-5  uint64:7          also uchar, uint, int64: a whole number in decimal
 *     double:0.1  float:-inf    a number in the C locale, inf or nan
 *     bool:true                 true or false
 *     char:A                    one Latin-1 character
 *     string:any text           as it stands
 *     pointer:0x1f              an address in hexadecimal
 *     stringlist:[a,b]          also without the brackets, unless inside a list
 *     pointerlist:[0x1,0x0]     likewise
 *     xml:<a b="c"/>            an XML element
 *     videoclip:[4,3,25,99,a]   width, height, frames per second, milliseconds, source
 *     service:[a,b,c]           name, name for the user, protocol; without an action
 *     servicelist:[[a,b,c]]     services
 *     list:[int:1,string:a]     values of any kinds, lists included
 *
 * Inside brackets, and in a list without them, a backslash takes the special meaning from the
 * character after it, which is one of \ , [ and ]. Lists in lists go no deeper than deepestLevel.
 */

/** A text that is no value. The message names the text, the position, what was found and expected.
 */
class ValueTextError : public std::runtime_error
{
public:
    ValueTextError(const QString& text, int position, const QString& found,
                   const QString& expected);

    /** Of the character at fault, counted from 1. */
    int position() const;

private:
    int errorPosition;
};

/** The names of the kinds. */
QStringList valueKinds();
/** The value that @p text stands for; throws a ValueTextError. */
MivoArg valueFromText(const QString& text);

#endif
