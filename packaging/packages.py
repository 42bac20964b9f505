#!/usr/bin/env python3
"""Makes what an installer and a registration-free folder consist of, for one width.

    packages.py --width x64|x86 --version N.N.N --bin FOLDER --shipped FILE --keys FILE --out FOLDER

FOLDER receives kelSDK.wxs, the description wixl makes an .msi of, and files/, the content of the
zip. What is installed is listed in `content`; what is registered comes out of FILE of --keys, which
packaging/record_keys.cpp wrote while the DLLs registered themselves. Nothing is named twice.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import uuid
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAKER = 'kelSDK'
# Debian's package iso-codes.
ISO_CODES = pathlib.Path('/usr/share/iso-codes/json')

# The names below are derived from this one and must never change: by them a machine knows, across
# versions, which product it has and which of its parts.
NAMESPACE = uuid.UUID('6a0f0a5e-9c1b-4e3c-9d5f-5a3a4b0b7c11')
DUAL_PROXY = '{00020424-0000-0000-C000-000000000046}'


def identity(*parts):
    return str(uuid.uuid5(NAMESPACE, '/'.join(parts))).upper()


def element(name, attributes, children=()):
    made = ElementTree.Element(name, attributes)
    made.extend(children)
    return made


def document(root, standalone=''):
    """The text of a document with this element."""
    ElementTree.indent(root)
    return (f'<?xml version="1.0" encoding="UTF-8"{standalone}?>\n'
            + ElementTree.tostring(root, encoding='unicode') + '\n')


class Keys:
    """What the DLLs register: for each, (key, name, text) below HKEY_CLASSES_ROOT."""

    def __init__(self, path):
        self.of = {}
        for line in path.read_text(encoding='utf-8').splitlines():
            dll, key, name, text = line.split('\t')
            # Both views of the registry are written by the platform where it has two; an installer
            # of either width writes its own.
            if not key.lower().startswith('wow6432node'):
                self.of.setdefault(dll, []).append((key, name, text))

    def folder(self, dll):
        """Where the DLL lay when it was registered, with a backslash at the end."""
        path = next(text for key, name, text in self.of[dll]
                    if key.lower().endswith('\\inprocserver32') and not name)
        return path[:-len(dll)]

    def text(self, dll, key, name=''):
        for one in self.of[dll]:
            if (one[0].lower(), one[1].lower()) == (key.lower(), name.lower()):
                return one[2]
        return None

    def below(self, dll, folder):
        """The names of the keys right below `folder`."""
        names = {key.split('\\')[1] for key, _, _ in self.of[dll]
                 if key.lower().startswith(folder.lower() + '\\')}
        return sorted(names)


def content(arguments):
    """Every file of the product, by its path below the product's folder."""
    shipped = [line.split('\t')[0] for line in arguments.shipped.read_text().split('\n') if line]
    files = [(name, arguments.bin / name) for name in shipped]
    listed = subprocess.run(['git', '-C', ROOT, 'ls-files', 'README.md', 'docs', 'examples'],
                            check=True, capture_output=True, text=True).stdout.split('\n')
    return dict(files + [(name, ROOT / name) for name in listed if name] + lists())


def lists():
    """The lists of codes that the programs make an account from, unchanged, with their licence."""
    wanted = [ISO_CODES / f'iso_{number}.json' for number in ('3166-1', '3166-2', '4217', '639-3')]
    wanted += [pathlib.Path('/usr/share/doc/iso-codes/copyright'),
               pathlib.Path('/usr/share/common-licenses/LGPL-2.1')]
    return [('iso-codes/' + path.name, path) for path in wanted]


# --- the installer

def is_shared(key):
    """Whether a key is the same one for 32- and 64-bit programs."""
    parts = key.lower().split('\\')
    if parts[0] == 'typelib':
        return parts[-1] not in ('win32', 'win64')
    return parts[0] not in ('clsid', 'interface')


class Installer:
    def __init__(self, arguments, keys):
        self.arguments = arguments
        self.keys = keys
        self.wide = 'yes' if arguments.width == 'x64' else 'no'
        self.components = []

    def component(self, name, children, wide=None, shared=False):
        # What both widths write alike is one component for the machine: it goes with the last.
        guid = identity('shared', name) if shared else identity(self.arguments.width, name)
        identifier = 'c_' + re.sub(r'\W', '_', name)
        self.components.append(identifier)
        return element('Component', {'Id': identifier, 'Guid': guid, 'Win64': wide or self.wide},
                       children)

    def value(self, dll, key, name, text, key_path=False):
        folder = self.keys.folder(dll)
        text = text.replace(folder + dll, f'[#{self.file_id(dll)}]')
        if text.rstrip('\\') == folder.rstrip('\\'):
            text = '[INSTALLDIR]'
        attributes = {'Root': 'HKCR', 'Key': key}
        if name:
            attributes['Name'] = name
        attributes |= {'Type': 'string', 'Value': text}
        if key_path:
            attributes['KeyPath'] = 'yes'
        return element('RegistryValue', attributes)

    @staticmethod
    def file_id(path):
        return 'f_' + re.sub(r'\W', '_', path)

    def file_component(self, path):
        children = [element('File', {'Id': self.file_id(path), 'Name': pathlib.PurePath(path).name,
                                     'Source': 'files/' + path, 'KeyPath': 'yes'})]
        children += [self.value(path, *one) for one in self.keys.of.get(path, [])
                     if not is_shared(one[0])]
        return self.component(path, children)

    def shared_component(self, dll):
        values = [one for one in self.keys.of[dll] if is_shared(one[0])]
        return self.component('names of ' + dll, [self.value(dll, *one, key_path=index == 0)
                                                  for index, one in enumerate(values)], shared=True)

    def directory(self, files, folder):
        """The components of one folder and of those below."""
        here = [path for path in files if str(pathlib.PurePosixPath(path).parent) == folder]
        prefix = '' if folder == '.' else folder + '/'
        below = sorted({path[len(prefix):].split('/')[0] for path in files
                        if path.startswith(prefix) and '/' in path[len(prefix):]})
        parts = [self.file_component(path) for path in here]
        for name in below:
            parts.append(element('Directory',
                                 {'Id': 'd_' + re.sub(r'\W', '_', prefix + name), 'Name': name},
                                 self.directory(files, prefix + name)))
        return parts

    def menu(self):
        shortcuts = [element('Shortcut', {
            'Id': 's_prompt', 'Directory': 'MenuFolder', 'Name': f'kelSDK prompt ({self.arguments.width})',
            'Description': 'A command prompt where kelSDK is installed',
            'Target': '[SystemFolder]cmd.exe', 'WorkingDirectory': 'INSTALLDIR'})]
        for line in self.arguments.shipped.read_text().split('\n'):
            program, _, title = line.partition('\t')
            if title:
                shortcuts.append(element('Shortcut', {
                    'Id': 's_' + re.sub(r'\W', '_', program), 'Directory': 'MenuFolder',
                    'Name': f'{title} ({self.arguments.width})', 'Target': f'[#{self.file_id(program)}]',
                    'WorkingDirectory': 'INSTALLDIR'}))
        mark = element('RegistryValue', {
            'Root': 'HKLM', 'Key': f'Software\\kelSDK\\{self.arguments.width}', 'Name': 'Version',
            'Type': 'string', 'Value': self.arguments.version, 'KeyPath': 'yes'})
        return self.component('menu', [mark, element('RemoveFolder', {'Id': 'MenuFolder', 'On': 'uninstall'})]
                              + shortcuts)

    def tree(self, files):
        width = self.arguments.width
        programs = 'ProgramFiles64Folder' if width == 'x64' else 'ProgramFilesFolder'
        folders = element('Directory', {'Id': 'TARGETDIR', 'Name': 'SourceDir'}, [
            element('Directory', {'Id': programs}, [
                element('Directory', {'Id': 'INSTALLDIR', 'Name': 'kelSDK'},
                        self.directory(files, '.')
                        + [self.shared_component(dll) for dll in sorted(self.keys.of)])]),
            element('Directory', {'Id': 'ProgramMenuFolder'}, [
                element('Directory', {'Id': 'MenuFolder', 'Name': 'kelSDK'}, [self.menu()])])])
        return element('Wix', {'xmlns': 'http://schemas.microsoft.com/wix/2006/wi'}, [
            # A code for each version: the same version again is a repair, another an update.
            element('Product', {
                'Id': identity(width, 'product', self.arguments.version), 'Name': f'kelSDK ({width})', 'Language': '1033', 'Codepage': '1252',
                'Version': self.arguments.version, 'Manufacturer': MAKER,
                'UpgradeCode': identity(width, 'upgrade')}, [
                    element('Package', {'InstallerVersion': '200', 'Compressed': 'yes',
                                        'InstallScope': 'perMachine', 'Manufacturer': MAKER,
                                        'Description': f'kelSDK ({width})'}),
                    element('MajorUpgrade', {
                        'DowngradeErrorMessage': 'A later version of kelSDK is installed.'}),
                    element('Media', {'Id': '1', 'Cabinet': 'kelSDK.cab', 'EmbedCab': 'yes'}),
                    folders,
                    element('Feature', {'Id': 'Complete', 'Level': '1', 'Title': 'kelSDK'},
                            [element('ComponentRef', {'Id': name}) for name in self.components])])])


# --- manifests

def assembly(dll):
    # Not the DLL's own name: for that one the platform would look into the DLL for the manifest.
    return pathlib.PurePath(dll).stem + '.Assembly'


def assembly_identity(name, arguments):
    return element('assemblyIdentity', {
        'type': 'win32', 'name': name, 'version': arguments.version + '.0',
        'processorArchitecture': 'amd64' if arguments.width == 'x64' else 'x86'})


def manifest(children):
    return document(element('assembly', {'xmlns': 'urn:schemas-microsoft-com:asm.v1',
                                         'manifestVersion': '1.0'}, children),
                    ' standalone="yes"')


def dll_manifest(dll, keys, arguments):
    parts, proxies = [], []
    for clsid in keys.below(dll, 'CLSID'):
        key = 'CLSID\\' + clsid
        attributes = {'clsid': clsid, 'progid': keys.text(dll, key + '\\ProgID'),
                      'threadingModel': keys.text(dll, key + '\\InprocServer32', 'ThreadingModel'),
                      'description': keys.text(dll, key)}
        if library := keys.text(dll, key + '\\TypeLib'):
            attributes['tlbid'] = library
        parts.append(element('comClass', attributes))
    for library in keys.below(dll, 'TypeLib'):
        parts.append(element('typelib', {'tlbid': library, 'version': '1.0', 'helpdir': '',
                                         'resourceid': '1'}))
    for iid in keys.below(dll, 'Interface'):
        key = 'Interface\\' + iid
        proxies.append(element('comInterfaceExternalProxyStub', {
            'name': keys.text(dll, key), 'iid': iid,
            'proxyStubClsid32': keys.text(dll, key + '\\ProxyStubClsid32') or DUAL_PROXY,
            'tlbid': keys.text(dll, key + '\\TypeLib')}))
    return manifest([assembly_identity(assembly(dll), arguments), element('file', {'name': dll}, parts)]
                    + proxies)


def program_manifest(program, dlls, arguments):
    level = element('requestedExecutionLevel', {'level': 'asInvoker', 'uiAccess': 'false'})
    trust = element('trustInfo', {'xmlns': 'urn:schemas-microsoft-com:asm.v3'},
                    [element('security', {}, [element('requestedPrivileges', {}, [level])])])
    return manifest([assembly_identity(pathlib.PurePath(program).stem, arguments), trust]
                    + [element('dependency', {}, [element('dependentAssembly', {}, [
                        assembly_identity(assembly(dll), arguments)])]) for dll in dlls])


def main():
    parser = argparse.ArgumentParser()
    for name in ('width', 'version'):
        parser.add_argument('--' + name, required=True)
    for name in ('bin', 'shipped', 'keys', 'out'):
        parser.add_argument('--' + name, required=True, type=pathlib.Path)
    arguments = parser.parse_args()
    keys = Keys(arguments.keys)
    files = content(arguments)

    arguments.out.mkdir(parents=True, exist_ok=True)
    (arguments.out / 'kelSDK.wxs').write_text(document(Installer(arguments, keys).tree(files)),
                                              encoding='utf-8')

    folder = arguments.out / 'files'
    shutil.rmtree(folder, ignore_errors=True)
    for path, source in files.items():
        (folder / path).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(source, folder / path)
    for dll in keys.of:
        (folder / (assembly(dll) + '.manifest')).write_text(
            dll_manifest(dll, keys, arguments), encoding='utf-8')
    for path, source in files.items():
        # A manifest in the program's resources would come before one beside it.
        if path.endswith('.exe') and b'urn:schemas-microsoft-com:asm.v1' not in source.read_bytes():
            (folder / (path + '.manifest')).write_text(
                program_manifest(path, sorted(keys.of), arguments), encoding='utf-8')


main()
