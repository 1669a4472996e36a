#ifndef RECORDLAYOUT_H
#define RECORDLAYOUT_H

#include <QtGlobal>

/** Whether @p fields are the first ones of @p record, in that order and with nothing between. */
template <class... Fields>
bool startsWithFields(const void* record, const Fields&... fields)
{
    quintptr end = quintptr(record);
    const auto follows = [&end](const void* field, size_t size, size_t alignment) {
        const quintptr expected = (end + alignment - 1) / alignment * alignment;
        end = expected + size;
        return quintptr(field) == expected;
    };
    return (follows(&fields, sizeof(fields), alignof(Fields)) && ...);
}

#endif
