"""dispatch_tables.py IDL OUTPUT.cpp: the tables by which the objects of a type library answer calls
by name. A table says what the C++ declarations alone do not: names, identifiers, defaults, and
which of the 16-bit numbers are truth values."""
import sys
from pathlib import Path

import idl

KINDS = {'method': 'DISPATCH_METHOD', 'propget': 'DISPATCH_PROPERTYGET',
         'propput': 'DISPATCH_PROPERTYPUT', 'propputref': 'DISPATCH_PROPERTYPUTREF'}
PREFIXES = {'method': '', 'propget': 'get_', 'propput': 'put_', 'propputref': 'putref_'}


def parameter(p):
    default = p.default
    number = default if default is not None and not default.startswith('"') else '0'
    if default not in (None, '""') and default.startswith('"'):
        sys.exit(f'{p.name}: only the empty text is a default of a text')
    return f'{{L"{p.name}", {"true" if p.is_optional else "false"}, {number}}}'


def booleans(member):
    """A bit for each parameter that is a truth value, the result included."""
    return sum(1 << i for i, p in enumerate(member.parameters)
               if p.type.rstrip('*') == 'VARIANT_BOOL')


def table(interface, lines):
    # By identifier, as the calls look for it; the kinds of a property stay in the order declared.
    members = sorted(interface.members, key=lambda m: m.id)
    name = interface.name
    entries = []
    for m in members:
        cpp = PREFIXES[m.kind] + m.name
        parameters = '{}'
        if m.arguments:
            parameters = f'parameters_of{name}_{cpp}'
            given = ', '.join(map(parameter, m.arguments))
            lines.append(f'constexpr DispatchParameter {parameters}[]{{{given}}};')
        result = 'true' if m.result else 'false'
        entries.append(f'    MakeMember<&{name}::{cpp}, {result}, {booleans(m)}>(')
        entries.append(f'        {m.id}, {KINDS[m.kind]}, L"{m.name}", {parameters}),')
    lines += [f'constexpr Members<{len(members)}> members_of{name}{{{{', *entries, '}};']
    lines.append(f'constexpr auto names_of{name} = NamePositions(members_of{name});')
    lines.append(f'constexpr auto ids_of{name} = IdPositions<members_of{name}>();')


def main(source, target):
    library = idl.read(source)
    # Only what a client can reach by name: the others have no IDispatch.
    interfaces = [d for d in library.members if d.kind == 'interface' and 'dual' in d.attributes]
    lines = [f'// Made from {Path(source).name} by dispatch_tables.py; do not edit.',
             f'#include <{library.name}.h>  // as a system header: it is made, too', '',
             '#include "automation/dispatch_member.h"', '',
             'namespace kel::automation {', 'namespace {', '']
    for interface in interfaces:
        table(interface, lines)
        lines.append('')
    lines += ['}  // namespace', '']
    for interface in interfaces:
        name = interface.name
        lines += ['template <>', f'const DispatchTable& TableOf<{name}>() noexcept {{',
                  f'    static constexpr DispatchTable table(',
                  f'        members_of{name}, names_of{name}, ids_of{name});',
                  '    return table;', '}', '']
    lines.append('}  // namespace kel::automation')
    Path(target).write_text('\n'.join(lines) + '\n', encoding='utf-8')


main(*sys.argv[1:])
