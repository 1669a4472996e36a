#include "MivoRemovable.h"

MivoRemovable::~MivoRemovable() = default;
