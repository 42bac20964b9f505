"""reference.py [--check]: docs/reference.md, the object model as a client reads it, out of
kelSDK.idl and reference_notes.py. With --check nothing is written: it is a test that fails when the
document is not what would be written."""
import sys
from pathlib import Path

import idl
from reference_notes import CAUTIONS, NOTES

ROOT = Path(__file__).resolve().parents[2]
TARGET = ROOT / 'docs' / 'reference.md'
WIDTH = 96

TYPES = {'BSTR': 'String', 'long': 'Long', 'short': 'Integer', 'VARIANT_BOOL': 'Boolean',
         'VARIANT': 'Variant', 'IDispatch': 'Object', 'IUnknown': 'Unknown'}
# The variable that holds an object of a class in the lines of use, and its event handlers' prefix.
VARIABLES = {'Collection': 'list', 'kelBase': 'base', 'kelFieldCallBack': 'field',
             'kelSessionCallBack': 'session', 'kelInfo': 'info', 'mviHostDLL': 'host',
             'kelTools': 'tools', 'kelDictItem': 'item'}
RESULTS = {'String': 'text', 'Boolean': 'ok', 'Variant': 'value'}
# Arguments of the lines of use, by name; others by type.
SAMPLES = {'KeyId': '"Country"', 'KeyField': '"Country"', 'OldKeyId': '"Country"',
           'NewKeyId': '"Land"', 'Session': '"Atlas"', 'sSessionName': '"Atlas"',
           'OldSessionName': '"Atlas"', 'NewSessionName': '"World"', 'FileName': '"COUNTRIES"',
           'sFileName': '"COUNTRIES"', 'RecordNumber': '"CH"', 'RecNo': '"CH"', 'Key': '"CH"',
           'AMC': '8', 'iAMC': '8', 'VMC': '1', 'iVMC': '1', 'SMC': '0', 'iSMC': '0',
           'Value': '"Bern"', 'SearchString': '"Bern"', 'Delimit': 'ChrW(253)', 'Dlm': '" "',
           'Strng': '"a b c"', 'SubStrng': '" "', 'Occur': '2', 'Ndx': '2', 'SortBy': '"AL"',
           'Convert': '"D2/"', 'sConvert': '"D2/"', 'ControlName': '"txtName"',
           'CommonName': '"Year"', 'DictName': '"NAME"', 'sDictName': '"NAME"',
           'FieldName': '"Database"', 'sPropertyName': '"Database"', 'ProgName': '"DEFAULTS"',
           'ProgType': '"D"', 'Correlative': '"A;1"', 'Sentence': '"SELECT COUNTRIES"',
           'sSelectList': '"SELECT COUNTRIES"', 'TclSentence': '"LIST COUNTRIES"',
           'SelectListName': '"All"', 'oDynamicArray': 'record', 'oFilevar': 'file',
           'oSelectList': 'names', 'ErrMsg': '"No such server"', 'iDisplayType': '1',
           'RowToInsertAt': '1', 'Index': '1', 'Label': '"Name"', 'Justification': '"L"',
           'ReadKeyId': '"Country"', 'Conversion': '"D2/"'}
BY_TYPE = {'String': '"text"', 'Boolean': 'True', 'Variant': 'value', 'Object': 'thing'}


def published(interface):
    """The class that an interface is known by: kelTools for _kelTools."""
    return interface.lstrip('_')


def type_name(p):
    base = p.type.rstrip('*')
    return TYPES.get(base, published(base))


def is_object(p):
    base = p.type.rstrip('*')
    return base in ('IDispatch', 'IUnknown') or base.startswith('_')


def by_reference(p):
    return 'out' in p.attributes


def anchor(heading):
    return ''.join(c for c in heading.lower().replace(' ', '-') if c.isalnum() or c in '-_')


def declared(p):
    text = f'{"ByRef " if by_reference(p) else ""}{p.name} As {type_name(p)}'
    if not p.is_optional:
        return text
    return f'[{text}]' if p.default is None else f'[{text} = {p.default}]'


def wrapped(start, parts, end):
    """start(parts)end on as many lines as it takes."""
    lines, line = [], start + '('
    for i, part in enumerate(parts):
        piece = part + (', ' if i + 1 < len(parts) else ')' + end)
        if len(line) + len(piece) > WIDTH:
            lines.append(line.rstrip())
            line = '    '
        line += piece
    return lines + [line if parts else f'{start}(){end}']


def forms(members):
    """Members by name, in order: the accessors of a property are one entry."""
    found = {}
    for m in members:
        found.setdefault(m.name, []).append(m)
    return found.values()


def inputs(m):
    """What is given in brackets: the value that a property is put to stands behind the sign."""
    return m.arguments[:-1] if m.kind.startswith('propput') else m.arguments


def value_type(m):
    return m.arguments[-1] if m.kind.startswith('propput') else m.result


def sample(name, kind):
    text = SAMPLES.get(name, BY_TYPE.get(kind, '1'))
    return f'"{text}"' if kind == 'String' and text.isdigit() else text


def given(p):
    if by_reference(p) and p.name not in ('oDynamicArray', 'oFilevar', 'oSelectList'):
        name = p.name[1:] if p.name[0] in 'si' and p.name[1].isupper() else p.name
        return name[0].lower() + name[1:]
    return sample(p.name, type_name(p))


def use(variable, m):
    """A statement that uses the member, without its optional arguments."""
    wanted = ', '.join(given(p) for p in inputs(m) if not p.is_optional)
    call = f'{variable}.{m.name}'
    if m.id == -4:
        return f'For Each value In {variable}'
    if m.kind == 'propputref':
        return f'Set {call}{f"({wanted})" if wanted else ""} = thing'
    if m.kind == 'propput':
        value = sample(m.name, type_name(m.arguments[-1]))
        return f'{call}{f"({wanted})" if wanted else ""} = {value}'
    if m.result is None:
        return f'{call} {wanted}'.rstrip()
    brackets = f'({wanted})' if wanted else ''
    if is_object(m.result):
        target = VARIABLES.get(type_name(m.result), 'thing')
        return f'Set {target} = {call}{brackets}'
    return f'{RESULTS.get(type_name(m.result), "number")} = {call}{brackets}'


def access(accessors):
    words = {'propget': 'get', 'propput': 'put', 'propputref': 'set'}
    return ', '.join(words[m.kind] for m in accessors)


def linked(name, sections):
    return f'[{name}](#{anchor(sections[name])})' if name in sections else name


def plain_properties(owner, rows, sections):
    lines = ['| property | type | access | meaning | use |', '|---|---|---|---|---|']
    for accessors in rows:
        first = accessors[0]
        note = NOTES.get(f'{owner}.{first.name}', '')
        meaning = first.help + ('. ' + note if note else '')
        if any(m.help != first.help for m in accessors):
            meaning += '. ' + ' '.join(f'{access([m]).capitalize()}: {m.help}.'
                                       for m in accessors[1:])
        uses = ' <br> '.join(f'`{use(VARIABLES[owner], m)}`' for m in accessors)
        kind = linked(type_name(value_type(first)), sections)
        lines.append(f'| `{first.name}` | {kind} | {access(accessors)} | {meaning} | {uses} |')
    return lines + ['']


def member(owner, accessors):
    first = accessors[0]
    kind = 'method' if first.kind == 'method' else f'property ({access(accessors)})'
    lines = [f'### {owner}.{first.name}', '', f'*{kind}*: {first.help}.']
    lines += [f'{access([m]).capitalize()}: {m.help}.' for m in accessors[1:]
              if m.help != first.help]
    lines += ['', '```vbs']
    result = value_type(first)
    ending = f' As {type_name(result)}' if result else ''
    lines += [("' " if i == 0 else "'   ") + line.strip() for i, line in
              enumerate(wrapped(first.name, [declared(p) for p in inputs(first)], ending))]
    lines += [use(VARIABLES[owner], m) for m in accessors]
    lines += ['```', '']
    name = f'{owner}.{first.name}'
    for word, texts in (('Errors', NOTES), ('Mind', CAUTIONS)):
        if name in texts:
            lines += [f'{word}: {texts[name]}', '']
    return lines


def class_section(library, declared_class, interfaces, sections):
    name = declared_class.name
    creatable = 'noncreatable' not in declared_class.attributes
    lines = [f'## {name}', '', declared_class.help + '.']
    if creatable:
        lines.append(f'`Set {VARIABLES[name]} = CreateObject("{library.name}.{name}")`')
    lines += ['', *([NOTES[name], ''] if name in NOTES else [])]
    events = None
    for interface, given_attributes in declared_class.members:
        if 'source' in given_attributes:
            events = interface
        else:
            main = interfaces[interface]
    entries = list(forms(main.members))
    simple = [e for e in entries
              if e[0].kind != 'method' and not any(inputs(m) for m in e) and e[0].id >= 0]
    lines += plain_properties(name, simple, sections) if simple else []
    for entry in entries:
        if entry not in simple:
            lines += member(name, entry)
    return lines + (event_section(name, interfaces[events]) if events else [])


def event_section(owner, interface):
    lines = [f'### Events of {owner}', '', '| event | raised when | handler |', '|---|---|---|']
    for m in interface.members:
        parameters = ', '.join(f'{"ByRef" if by_reference(p) else "ByVal"} {p.name} As '
                               f'{type_name(p)}' for p in m.parameters)
        lines.append(f'| `{m.name}` | {m.help} | '
                     f'`Sub {VARIABLES[owner]}_{m.name}({parameters})` |')
    return lines + ['']


def enumeration(declared_enum):
    lines = [f'## {declared_enum.name}', '', declared_enum.help + '.', '', '| name | value |',
             '|---|---|']
    for name, value in declared_enum.members:
        code = f' (0x{value & 0xFFFFFFFF:08X})' if value < 0 else ''
        lines.append(f'| `{name}` | {value}{code} |')
    return lines + ['']


INTRODUCTION = '''\
# The object model

<!-- Made from idl/kelSDK.idl by idl/tools/reference.py; do not edit. -->

Every class, event and enumeration that a client sees. A member is shown as it is declared, with a
statement that uses it:

- What stands behind `ByRef` is a variable that the member reads and changes; all else is only read.
- `[ ]` may be left out, and then has the default shown, if any.
- Types: `String` text, `Long` 32 and `Integer` 16 bits, `Boolean`, `Variant` anything, `Object` any
  automation object. Positions AMC, VMC, SMC (attribute, value, subvalue) count from 1; 0 is the
  whole enclosing level.
- Handlers are written as in languages with `WithEvents`; VBScript's own declarations have no types.
- What stands behind `Mind:` a member does as it must, and a program may lose data by it.
- Errors: numbers as scripts show them; [errors.md](errors.md) has their texts. Any member can also
  run out of memory (7), and refuses an argument of the wrong type (13) before it begins.
'''


def check_notes(classes, interfaces):
    known = set()
    for c in classes:
        known.add(c.name)
        known.update(f'{c.name}.{m.name}' for i, given_attributes in c.members
                     if 'source' not in given_attributes for m in interfaces[i].members)
    for name in [*NOTES, *CAUTIONS]:
        if name not in known:
            sys.exit(f'reference_notes.py: there is no {name}')


def document():
    library = idl.read(ROOT / 'idl' / 'kelSDK.idl')
    classes = [d for d in library.members if d.kind == 'coclass']
    enums = [d for d in library.members if d.kind == 'enum']
    interfaces = {d.name: d for d in library.members if d.kind in ('interface', 'dispinterface')}
    check_notes(classes, interfaces)
    sections = {d.name: d.name for d in classes + enums}

    lines = [INTRODUCTION, '| class | created as | |', '|---|---|---|']
    for c in classes:
        creatable = 'noncreatable' not in c.attributes
        prog_id = f'`{library.name}.{c.name}`' if creatable else ''
        lines.append(f'| {linked(c.name, sections)} | {prog_id} | {c.help} |')
    with_events = [c.name for c in classes if len(c.members) > 1]
    lines += ['', 'Events: ' + ', '.join(f'[{n}](#{anchor("Events of " + n)})'
                                         for n in with_events) + '.', '',
              'Enumerations: ' + ', '.join(linked(e.name, sections) for e in enums) + '.', '']
    for c in classes:
        lines += class_section(library, c, interfaces, sections)
    for e in enums:
        lines += enumeration(e)
    return '\n'.join(lines).rstrip() + '\n'


def main(arguments):
    made = document()
    if arguments == ['--check']:
        is_current = TARGET.exists() and TARGET.read_text(encoding='utf-8') == made
        if not is_current:
            print('docs/reference.md is not what the IDL says: run python3 idl/tools/reference.py')
        print('1 passed, 0 failed' if is_current else '0 passed, 1 failed')
        sys.exit(not is_current)
    if arguments:
        sys.exit(__doc__)
    TARGET.write_text(made, encoding='utf-8')


main(sys.argv[1:])
