# SPDX-License-Identifier: MIT
"""Whether the stills and movies that were taken can be read."""
import json
import struct
import subprocess
import zlib

PATIENCE = 120  # seconds for one movie


def movie_facts(file):
    """(pictures, seconds, reason): the reason is why the movie cannot be read, or nothing."""
    done = subprocess.run(
        ["ffprobe", "-v", "error", "-select_streams", "v", "-count_packets", "-show_entries",
         "stream=nb_read_packets:format=duration", "-of", "json", str(file)],
        check=False, text=True, capture_output=True, timeout=PATIENCE)
    said = (done.stderr.strip().splitlines() or ["not readable"])[0]
    if done.returncode != 0 or done.stderr.strip():
        return 0, 0.0, said
    facts = json.loads(done.stdout)
    pictures = int(facts["streams"][0]["nb_read_packets"]) if facts.get("streams") else 0
    if pictures < 1:
        return 0, 0.0, "it has no picture"
    return pictures, float(facts["format"]["duration"]), None


def still_fault(file):
    """Why a PNG file cannot be read, or nothing."""
    try:
        data = file.read_bytes()
    except OSError as error:
        return error.strerror
    if not data.startswith(b"\x89PNG\r\n\x1a\n"):
        return "no PNG file"
    place, packed, size = 8, b"", (0, 0)
    while place + 12 <= len(data):
        length, kind = struct.unpack(">I4s", data[place:place + 8])
        body = data[place + 8:place + 8 + length]
        if data[place + 8 + length:place + 12 + length] != struct.pack(">I", zlib.crc32(kind + body)):
            return f"{kind.decode('latin-1')} is damaged"
        if kind == b"IHDR":
            size = struct.unpack(">II", body[:8])
        if kind == b"IDAT":
            packed += body
        if kind == b"IEND":
            break
        place += 12 + length
    else:
        return "it ends early"
    try:
        rows = zlib.decompress(packed)
    except zlib.error as error:
        return str(error)
    return None if size[1] and len(rows) % size[1] == 0 and len(rows) >= 3 * size[0] * size[1] else "pixels are missing"


def check(movies, stills):
    """Complaints, and one line about what there is."""
    complaints, pictures, seconds = [], 0, 0.0
    for file in movies:
        count, length, reason = movie_facts(file)
        if reason:
            complaints.append(f"{file}: {reason}")
        pictures, seconds = pictures + count, seconds + length
    complaints += [f"{file}: {reason}" for file in stills if (reason := still_fault(file))]
    rate = f", {pictures / seconds:.1f} a second" if seconds else ""
    return complaints, f"{len(movies)} movies with {pictures} pictures{rate}; {len(stills)} stills"
