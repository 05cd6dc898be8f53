"""An application that a person's desktop knows for a while, for URLs of some schemes.

The desktop's own files are changed for that: the folder of desktop entries, and the list of default
applications (the "Association between MIME types and applications" of freedesktop.org). Afterwards
they are as they were, byte for byte, unless somebody else has changed the list meanwhile: then only
what was added here goes.
"""

import pathlib

_GROUP = "[Default Applications]"


class TemporaryDesktopEntry:
    def __init__(self, environment, identifier, name, command, schemes):
        home = pathlib.Path(environment["HOME"])
        data = environment.get("XDG_DATA_HOME") or home / ".local/share"
        configuration = environment.get("XDG_CONFIG_HOME") or home / ".config"
        self._entry = pathlib.Path(data) / "applications" / f"{identifier}.desktop"
        self._list = pathlib.Path(configuration) / "mimeapps.list"
        self._made_folders = [*_make_folder(self._entry.parent), *_make_folder(self._list.parent)]
        self._entry_before = _text_of(self._entry)
        self._before = _text_of(self._list)

        types = [f"x-scheme-handler/{scheme}" for scheme in schemes]
        self._lines = {kind: f"{kind}={identifier}.desktop" for kind in types}
        self._replaced = {}
        self._entry.write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec={command} %u\n"
            f"NoDisplay=true\nMimeType={';'.join(types)};\n"
        )
        self._with_entry = self._put_in(self._before or "")
        self._list.write_text(self._with_entry)

    def remove(self):
        _put_back(self._entry, self._entry_before)
        present = _text_of(self._list) or ""
        if present != self._with_entry:
            self._list.write_text(self._take_out(present))
        else:
            _put_back(self._list, self._before)
        for folder in self._made_folders:
            if not any(folder.iterdir()):
                folder.rmdir()

    def _put_in(self, text):
        """The list with this entry as the default, and what it replaces taken down."""
        lines = []
        group = None
        for line in text.splitlines():
            group = line if line.startswith("[") else group
            kind = line.partition("=")[0].strip()
            if group == _GROUP and kind in self._lines:
                self._replaced[self._lines[kind]] = line
            else:
                lines.append(line)
        if _GROUP not in lines:
            lines += ["", _GROUP]
        at = lines.index(_GROUP) + 1
        lines[at:at] = self._lines.values()
        return "\n".join([*lines, ""])

    def _take_out(self, text):
        own = set(self._lines.values())
        lines = [self._replaced.get(line) if line in own else line for line in text.splitlines()]
        return "".join(f"{line}\n" for line in lines if line is not None)


def _text_of(file):
    """None where there is no such file."""
    return file.read_text() if file.exists() else None


def _put_back(file, text):
    if text is None:
        file.unlink(missing_ok=True)
    else:
        file.write_text(text)


def _make_folder(folder):
    """The folders that had to be made, the innermost first."""
    missing = [parent for parent in (folder, *folder.parents) if not parent.exists()]
    folder.mkdir(parents=True, exist_ok=True)
    return missing
