# SPDX-License-Identifier: MIT
"""Which files of the product handle bytes from outside, and which fuzz target reaches each of them.

A file is found by what it must use to get at such bytes or to make sense of them (SIGNS).  tests/fuzz/parsers.txt
gives each such file a target, or says why it needs none.
"""
import pathlib
import re
import subprocess

# A file with one of these handles bytes from outside, or may do so.
SIGNS = {
    "takes bytes": r"span<const std::uint8_t\b|const std::uint8_t ?\*|const QByteArray ?&|const char ?\* ?const ?\*",
    "reads": r"(?<![\w>])::(?:p?read|recv\w*)\(|\bfread\(|\bifstream\b|\bgetline\(|QIODevice::Read|\breadWholeFile\(|\bread_symlink\("
             r"|\bdirectory_iterator\b",
    "asks the kernel": r"::ioctl\(|\b(?:VIDIOC|UVCIOC|USBDEVFS)_|\budev_device_get_|\blibusb_(?:control_transfer|get_)"
                       r"|\bnetlink",
    "asks a camera": r"\bControlRequest\(|\.request\(\{|\bUsbSetup\b",
    "asks the environment": r"\bgetenv\(|\bqEnvironmentVariable|\bargv\b",
    "makes numbers of text": r"\bfrom_chars\(|\bsto(?:i|l|ll|u\w+|f|d|ld)\(|\bstrto\w+\(|\bsscanf\("
                             r"|\.to(?:Int|UInt|Short|Long|LongLong|ULongLong|Float|Double)\(",
    "makes values of bytes": r"\b(?:fromJson|littleEndian|wordAt|doubleWordAt)\(|\bnlohmann::",
    "takes arguments": r"\bCLI::App\b|\bQVariantMap ?&|\bQDBus(?:Message|Reply|Argument)\b|\bqdbus_cast<",
    "decodes pictures": r"\bjpeg_\w+\(|\btj\w+\(",
}
NOT_OF_A_HEADER = {"takes bytes", "takes arguments", "asks a camera", "asks the environment"}  # a declaration parses nothing
OTHER = ("tests/", "bench/", "docs/", "debian/", "flatpak/", "scripts/", "resources/", "cmake/", ".ci/")


def code_of(text):
    """Without comments, and without what stands in strings."""
    pattern = r'//[^\n]*|/\*.*?\*/|R"\((?:.|\n)*?\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\''
    return re.sub(pattern, lambda found: '""' if found[0][0] in "\"R'" else " ", text, flags=re.DOTALL)


def signs_in(name, text):
    code = code_of(text)
    return [sign for sign, pattern in SIGNS.items()
            if not (name.endswith(".h") and sign in NOT_OF_A_HEADER) and re.search(pattern, code)]


def product_files(project):
    listing = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard", "*.cpp", "*.h"],
        cwd=project, capture_output=True, text=True, check=False)
    if listing.returncode == 0 and listing.stdout:
        names = listing.stdout.split("\0")
    else:  # an unpacked archive
        names = [str(path.relative_to(project)) for suffix in ("cpp", "h") for path in project.glob(f"*/**/*.{suffix}")]
    return sorted({name for name in names
                   if name and not name.startswith(OTHER + ("build",)) and (project / name).is_file()})


def candidates(project):
    """The signs of each file that has some."""
    found = {}
    for name in product_files(project):
        signs = signs_in(name, (project / name).read_text(encoding="utf-8"))
        if signs:
            found[name] = signs
    return found


def listed(text):
    """What parsers.txt says: the targets of each file, and the reasons of those without any."""
    targets, reasons = {}, {}
    for number, line in enumerate(text.split("\n"), 1):
        if not line.strip() or line.startswith("#"):
            continue
        name, rest = line.split(None, 1) if len(line.split(None, 1)) == 2 else (line.strip(), "")
        if name in targets or name in reasons:
            raise ValueError(f"parsers.txt:{number}: {name} stands there twice")
        if rest.startswith("-"):
            reasons[name] = rest[1:].strip()
        else:
            targets[name] = rest.split()
    return targets, reasons


def targets_built(text):
    """The targets that tests/fuzz/CMakeLists.txt makes."""
    return set(re.findall(r"^tavelo_fuzzer\((\w+)", text, flags=re.MULTILINE))


def complaints(found, targets, reasons, built):
    """What is wrong, a line each."""
    wrong = []
    for name, signs in found.items():
        if name not in targets and name not in reasons:
            wrong.append(f"{name}: handles bytes from outside ({', '.join(signs)}), and no target is named for it")
    for name, chosen in targets.items():
        if name not in found:
            wrong.append(f"{name}: is listed, and is no such file")
        if not chosen:
            wrong.append(f"{name}: neither a target nor a reason")
        wrong += [f"{name}: there is no target {target}" for target in chosen if target not in built]
    for name, reason in reasons.items():
        if name not in found:
            wrong.append(f"{name}: is listed, and is no such file")
        if len(reason.split()) < 3:
            wrong.append(f"{name}: why does it need no target?")
    used = {target for chosen in targets.values() for target in chosen}
    wrong += [f"target {target}: reaches no file of the list" for target in sorted(built - used)]
    return wrong


def project_folder():
    return pathlib.Path(__file__).resolve().parents[2]
