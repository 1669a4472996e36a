#include "MivoXmlElement_p.h"

MivoXmlElement* MivoXmlElement::share(MivoXmlElement* element)
{
    if (element)
        element->ref.ref();
    return element;
}

void MivoXmlElement::release(MivoXmlElement* element)
{
    // What has ended stands in a list, because a recursion could outgrow the stack.
    MivoXmlPiece* ended = element && !element->ref.deref() ? element : nullptr;
    while (ended) {
        MivoXmlElement* const current = ended->element();
        MivoXmlPiece* const rest = ended->next;
        MivoXmlPiece** end = &ended;
        for (MivoXmlPiece* piece = current->first; piece;) {
            MivoXmlPiece* const following = piece->next;
            MivoXmlElement* const child = piece->element();
            if (child) {
                child->parent = nullptr;
                child->previous = nullptr;
                child->next = nullptr;
                if (!child->ref.deref()) {
                    *end = child;
                    end = &child->next;
                }
            } else {
                delete piece;
            }
            piece = following;
        }
        *end = rest;
        delete current;
    }
}

bool MivoXmlElement::holds(const MivoXmlElement* element) const
{
    // Most have just been made: what holds nothing saves the way up from deep in a tree.
    while (first && element && element != this)
        element = element->parent;
    return element == this;
}

void MivoXmlElement::insert(MivoXmlPiece* piece, MivoXmlPiece* other)
{
    piece->previous = other;
    piece->next = other ? other->next : first;
    (piece->previous ? piece->previous->next : first) = piece;
    (piece->next ? piece->next->previous : last) = piece;
    if (MivoXmlElement* const child = piece->element())
        child->parent = this;
}

void MivoXmlElement::take(MivoXmlPiece* piece)
{
    (piece->previous ? piece->previous->next : first) = piece->next;
    (piece->next ? piece->next->previous : last) = piece->previous;
    piece->previous = nullptr;
    piece->next = nullptr;
    if (MivoXmlElement* const child = piece->element())
        child->parent = nullptr;
}

void MivoXmlElement::appendText(const QString& added)
{
    if (added.isEmpty())
        return;
    if (last && !last->element())
        last->text += added;
    else
        append(new MivoXmlPiece(added));
}
