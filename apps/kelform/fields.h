// The fields of a country as the binding library takes them.
#pragma once

#include "apps/atlas/dictionary.h"
#include "apps/binding/field_control.h"

namespace kel::form {

// The field's name in the dictionary, with what is to be used where there is none.
inline binding::Definition DefinitionOf(const wchar_t* name) {
    const atlas::Field& field = atlas::CountryField(name);
    return {.dictName = field.name,
            .amc = field.amc,
            .conversion = field.conversion,
            .correlative = field.correlative};
}

}  // namespace kel::form
