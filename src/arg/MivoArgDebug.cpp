#include "MivoArg.h"

#include "MivoBuddy.h"
#include "MivoBuddyResource.h"
#include "MivoDebug_p.h"
#include "MivoField.h"
#include "MivoPluginAction.h"
#include "MivoPresence.h"
#include "MivoService.h"
#include "MivoXmlNode.h"

#include <QDebug>

namespace {

void writePointer(QDebug& dbg, const void* pointer)
{
    dbg << pointer;
}

void writeArg(QDebug& dbg, const MivoArg& arg)
{
    dbg << arg;
}

/** What stands between the parentheses; the kinds that are left out print nothing. */
void writeValue(QDebug& dbg, const MivoArg& arg)
{
    switch (arg.getType()) {
    case MivoArg::None:
        dbg << "None";
        break;
    case MivoArg::Char:
        dbg << "Char: " << arg.toChar();
        break;
    case MivoArg::UChar:
        dbg << "UChar: " << static_cast<unsigned int>(arg.toUChar());
        break;
    case MivoArg::Int:
        dbg << "Int: " << arg.toInt();
        break;
    case MivoArg::UInt:
        dbg << "UInt: " << arg.toUInt();
        break;
    case MivoArg::Int64:
        dbg << "Int64: " << arg.toInt64();
        break;
    case MivoArg::UInt64:
        dbg << "UInt64: " << arg.toUInt64();
        break;
    case MivoArg::Float:
        dbg << "Float: " << arg.toFloat();
        break;
    case MivoArg::Double:
        dbg << "Double: " << arg.toDouble();
        break;
    case MivoArg::String:
        dbg << "String: ";
        mivoWriteQuoted(dbg, arg.toString());
        break;
    case MivoArg::StringList:
        dbg << "StringList: ";
        mivoWriteList(dbg, arg.toStringList(), mivoWriteQuoted);
        break;
    case MivoArg::Bool:
        dbg << "Bool: " << arg.toBool();
        break;
    case MivoArg::Pointer:
        dbg << "Pointer: ";
        writePointer(dbg, arg.toPointer());
        break;
    case MivoArg::PointerList:
        dbg << "PointerList: ";
        mivoWriteList(dbg, arg.toPointerList(), writePointer);
        break;
    case MivoArg::Plugin:
        dbg << "Plugin: ";
        // Not as the QObject that it is, which Qt would print by class and name.
        writePointer(dbg, static_cast<const void*>(arg.toPlugin()));
        break;
    case MivoArg::Field:
        dbg << "Field: " << arg.toField();
        break;
    case MivoArg::FieldList:
        dbg << "FieldList: " << arg.toFieldList();
        break;
    case MivoArg::XmlNode:
        dbg << "XmlNode: " << arg.toXmlNode();
        break;
    case MivoArg::Buddy:
        dbg << "Buddy: " << arg.toBuddy();
        break;
    case MivoArg::BuddyResource:
        // Meant: without a printer of its own a resource prints as the variant that it converts to,
        // which is this one again, without end.
        dbg << "BuddyResource:" << MivoArg(arg.toBuddyResource());
        break;
    case MivoArg::Account:
        dbg << "Account: ";
        writePointer(dbg, arg.toAccount());
        break;
    case MivoArg::PluginAction:
        dbg << "PluginAction: argument count: " << arg.toPluginAction().getActionData().count();
        break;
    case MivoArg::Presence:
        dbg << "Presence: " << arg.toPresence();
        break;
    case MivoArg::ArgList:
        dbg << "ArgList: ";
        mivoWriteList(dbg, arg.toArgList(), writeArg);
        break;
    case MivoArg::Service:
        dbg << "Service: " << arg.toService();
        break;
    default:
        break;
    }
}

} // namespace

QDebug operator<<(QDebug dbg, MivoArg::Type type)
{
    const MivoPlainText plain(dbg);
    const bool isPrinted = type != MivoArg::VideoClip && type != MivoArg::ServiceList
        && type >= MivoArg::None && type <= MivoArg::Undefined;
    if (isPrinted)
        dbg.nospace() << mivo_arg_type(type).toLatin1().constData();
    else
        dbg.nospace() << "MivoArg::";
    return dbg.space();
}

QDebug operator<<(QDebug dbg, const MivoArg& arg)
{
    const MivoPlainText plain(dbg);
    dbg.nospace() << "MivoArg(";
    writeValue(dbg, arg);
    dbg.nospace() << ")";
    return dbg.space();
}
