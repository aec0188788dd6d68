#!/usr/bin/env python3
"""Makes the captures that come with Nimbrel: the same bytes at every run.

    make_capture.py recording [FILE]     a walk of three minutes past beacons and other devices
    make_capture.py clip FILE FROM TO    a piece of it, in seconds
    make_capture.py load FILE REPORTS    one report a millisecond from a thousand devices

Both are btsnoop files of HCI packets (H4). Layouts are those of the Bluetooth Core Specification:
volume 4, part E, section 7.7.65 (events) and volume 3, part C, section 11 (advertising data).
"""

import argparse
import itertools
import math
import pathlib
import random
import struct
import sys
import uuid
from dataclasses import dataclass

# Microseconds from the epoch of btsnoop to 1970, as all recorders count them.
BTSNOOP_EPOCH = 0x00DCDDB30F2F8000
BTSNOOP_HEADER = b"btsnoop\0" + struct.pack(">II", 1, 1002)
START = 1_714_816_800_000_000  # 2024-05-04 10:00:00 UTC, in microseconds.

SENT_COMMAND, RECEIVED_EVENT = 2, 3
ADV_IND, ADV_SCAN_IND, ADV_NONCONN_IND, SCAN_RSP = 0, 2, 3, 4
# What an extended report says for each of these, when it was a legacy advertisement.
LEGACY_IN_EXTENDED = {ADV_IND: 0x13, ADV_SCAN_IND: 0x12, ADV_NONCONN_IND: 0x10, SCAN_RSP: 0x1B}
PUBLIC, RANDOM = 0, 1


def field(kind, payload):
    """One advertising data structure."""
    return bytes([len(payload) + 1, kind]) + payload


FLAGS = field(0x01, b"\x06")


def name(text):
    return field(0x09, text.encode())


def manufacturer(company, payload):
    return field(0xFF, struct.pack("<H", company) + payload)


def service_data(service, payload):
    return field(0x16, struct.pack("<H", service) + payload)


def ibeacon(region, major, minor, power=-59):
    identity = uuid.UUID(region).bytes + struct.pack(">HHb", major, minor, power)
    return FLAGS + manufacturer(0x004C, b"\x02\x15" + identity)


def altbeacon(region, major, minor, power=-61):
    identity = uuid.UUID(region).bytes + struct.pack(">HHbB", major, minor, power, 0)
    return FLAGS + manufacturer(0x0118, b"\xBE\xAC" + identity)


def address(text):
    """As it goes over the air, from the way in which people write it."""
    return bytes.fromhex(text.replace(":", ""))[::-1]


def legacy_report(kind, address_type, device, data, rssi):
    return bytes([kind, address_type]) + device + bytes([len(data)]) + data + struct.pack("b", rssi)


def extended_report(kind, address_type, device, data, rssi, advertising_set=0xFF):
    primary, secondary = (1, 0) if advertising_set == 0xFF else (1, 2)
    head = struct.pack("<HB6sBBBbbHB6s", kind, address_type, device, primary, secondary,
                       advertising_set, 127, rssi, 0, 0, bytes(6))
    return head + bytes([len(data)]) + data


def le_event(subevent, reports):
    parameters = bytes([subevent, len(reports)]) + b"".join(reports)
    return bytes([0x04, 0x3E, len(parameters)]) + parameters


def legacy_event(*reports):
    return le_event(0x02, reports)


def extended_event(*reports):
    return le_event(0x0D, reports)


def record(microseconds, packet, flags=RECEIVED_EVENT):
    """A record of the file, `microseconds` after the start."""
    stamp = BTSNOOP_EPOCH + START + microseconds
    return struct.pack(">IIIIQ", len(packet), len(packet), flags, 0, stamp) + packet


def command(microseconds, opcode, parameters):
    """A command, and the event by which the controller says that it is done."""
    done = struct.pack("<BBBBHB", 0x04, 0x0E, 4, 1, opcode, 0)
    packet = struct.pack("<BHB", 0x01, opcode, len(parameters)) + parameters
    return [(microseconds, record(microseconds, packet, SENT_COMMAND)),
            (microseconds + 400, record(microseconds + 400, done))]


@dataclass
class Device:
    address: str
    data: bytes
    interval: float  # Seconds.
    along: float  # Metres from the start of the walk; None for what the walker carries.
    aside: float  # Metres from the path.
    kind: int = ADV_NONCONN_IND
    response: bytes | None = None
    address_type: int = RANDOM
    power: float = -59.0  # dBm at one metre.
    advertising_set: int = 0xFF  # Another one: extended advertising.
    first: float = 0.0  # Seconds in which this address is in use.
    last: float = math.inf


GALLERY = "6A1F3C52-8E0B-4D27-9C64-1B7E5D20F3A8"
CAFE = "C03B9D7E-52F4-4A18-8D6A-E97F14B2065C"
STATION = "3E85D1A0-7B29-4C6F-B4D3-90A2F6C81E57"

DURATION = 180.0  # Seconds.
SPEED = 1.2  # Metres a second.
EXTENDED_SCAN_FROM = 95.0  # Seconds: the recorder scans anew, now for extended advertising too.

DEVICES = [
    Device("C4:1D:83:5A:07:E2", ibeacon(GALLERY, 1, 1), 0.35, 30, 2.0,
           kind=ADV_SCAN_IND, response=name("Gallery 1-1")),
    Device("E9:72:4B:16:C8:3F", ibeacon(GALLERY, 1, 2), 0.35, 62, 3.5),
    Device("D1:08:F6:9E:2C:54", ibeacon(GALLERY, 2, 1), 0.35, 104, 1.5),
    Device("F3:5C:A0:61:7B:19", ibeacon(CAFE, 100, 7, -65), 0.5, 150, 4.0, power=-65,
           kind=ADV_IND, response=name("Café")),
    Device("CB:90:2E:D4:38:6A", altbeacon(STATION, 12, 1), 0.4, 85, 5.0, power=-61),
    Device("EE:13:57:BC:F0:48", altbeacon(STATION, 12, 2), 0.4, 190, 2.5, power=-61),
    # A phone in the walker's pocket, which changes its resolvable address.
    Device("5B:E4:90:3D:A7:12", FLAGS + manufacturer(0x004C, bytes.fromhex("10054B1C9A2E60")), 1.3,
           None, 0.8, kind=ADV_IND, last=70),
    Device("6C:0A:F8:25:41:D9", FLAGS + manufacturer(0x004C, bytes.fromhex("10054B1C77D3A8")), 1.3,
           None, 0.8, kind=ADV_IND, first=70),
    Device("48:D2:6F:B1:0E:93", FLAGS + manufacturer(0x004C, bytes.fromhex("10050718E4925B")), 1.8,
           48, 6.0, kind=ADV_IND),
    Device("7E:31:C5:8A:94:20", manufacturer(0x0006, bytes.fromhex("01092022A81F53C4")), 2.0, 120,
           12.0),
    # Headphones, trackers, and what else there is.
    Device("D8:AB:35:40:6E:C1", FLAGS + manufacturer(0x0075, bytes.fromhex("42098102146A1F2B")),
           0.9, None, 0.4, kind=ADV_IND, response=name("Headphones L")),
    Device("F7:04:B9:E2:5D:86", FLAGS + manufacturer(0x0059, bytes.fromhex("0211A53C")), 1.0, 75,
           4.5, kind=ADV_IND, response=name("Key tracker")),
    Device("CD:68:12:9F:A3:70", manufacturer(0x004C, bytes.fromhex(
        "121910" "8C41D7E52B9A306FD81455C7A20B93E6417D") + bytes(5)), 2.0, 165, 3.0),
    Device("E2:5E:D0:17:8B:34", FLAGS + field(0x03, b"\xAA\xFE") + service_data(
        0xFEAA, b"\x10\xEE\x03example\x07"), 0.7, 135, 3.0, power=-58),
    Device("00:00:5E:00:53:2A", FLAGS + field(0x02, b"\x1D\x18") + service_data(
        0x181D, bytes.fromhex("02A03C")), 1.1, 20, 7.0, kind=ADV_IND,
           response=name("Scale") + manufacturer(0x0059, bytes.fromhex("0100")),
           address_type=PUBLIC),
    Device("FA:87:4C:6D:21:B5", name("Departure board 3, the next trains and where they leave from")
           + manufacturer(0x0059, bytes(range(0x20, 0x20 + 90))), 0.8, 180, 6.0,
           advertising_set=3),
    Device("C7:2F:98:E1:04:5B", ibeacon(CAFE, 100, 8, -65), 0.5, 158, 3.0, power=-65,
           advertising_set=1),
]


def rssi_at(device, seconds, chance):
    """In dBm; None where it is too weak to be heard."""
    ahead = 0.0 if device.along is None else device.along - SPEED * seconds
    distance = max(math.hypot(ahead, device.aside), 0.3)
    # A street with walls and people: a little more than free space takes away, and fading.
    rssi = device.power - 24.0 * math.log10(distance) + chance.gauss(0.0, 2.5)
    return round(min(rssi, -30.0)) if rssi > chance.uniform(-99.0, -92.0) else None


def sighting(device, seconds, rssi, chance):
    """The records of one advertisement and, sometimes, of the answer to a scan request."""
    when = round(seconds * 1e6)
    head = device.address_type, address(device.address)
    answers = device.response is not None and chance.random() < 0.7
    answer_rssi = rssi + chance.randint(-1, 1)
    if device.advertising_set != 0xFF:
        parts = [device.data[i:i + 100] for i in range(0, len(device.data), 100)]
        for more, part in zip(range(len(parts) - 1, -1, -1), parts):
            kind = 0x20 if more else 0x00
            yield when, extended_event(extended_report(kind, *head, part, rssi,
                                                       device.advertising_set))
            when += 600
    elif seconds >= EXTENDED_SCAN_FROM:
        yield when, extended_event(extended_report(LEGACY_IN_EXTENDED[device.kind], *head,
                                                   device.data, rssi))
        if answers:
            yield when + 900, extended_event(extended_report(LEGACY_IN_EXTENDED[SCAN_RSP], *head,
                                                             device.response, answer_rssi))
    else:
        reports = [legacy_report(device.kind, *head, device.data, rssi)]
        if answers:
            reports.append(legacy_report(SCAN_RSP, *head, device.response, answer_rssi))
        if len(reports) == 2 and chance.random() < 0.5:
            yield when + 900, legacy_event(*reports)
        else:
            for delay, report in zip(itertools.count(0, 900), reports):
                yield when + delay, legacy_event(report)


def recording(begin=0.0, end=math.inf):
    chance = random.Random(20240504)
    restart = round(EXTENDED_SCAN_FROM * 1e6) - 5000
    records = [
        *command(0, 0x0C03, b""),
        *command(2000, 0x200B, struct.pack("<BHHBB", 1, 0x60, 0x60, 1, 0)),
        *command(4000, 0x200C, b"\x01\x00"),
        *command(restart, 0x200C, b"\x00\x00"),
        *command(restart + 1000, 0x2041, struct.pack("<BBBBHH", 1, 0, 1, 1, 0x60, 0x60)),
        *command(restart + 2000, 0x2042, struct.pack("<BBHH", 1, 0, 0, 0)),
        *command(round(DURATION * 1e6), 0x2042, bytes(6)),
    ]
    for device in DEVICES:
        first = 0.01 + chance.uniform(0.0, device.interval)
        if device.advertising_set != 0xFF:
            first += EXTENDED_SCAN_FROM
        seconds = max(first, device.first)
        while seconds < min(DURATION - 0.01, device.last):
            rssi = rssi_at(device, seconds, chance)
            if rssi is not None:
                records += [(when, record(when, packet))
                            for when, packet in sighting(device, seconds, rssi, chance)]
            # The standard adds up to ten milliseconds, so that devices do not stay in step.
            seconds += device.interval + chance.uniform(0.0, 0.01)
    return b"".join(packet for when, packet in sorted(records, key=lambda entry: entry[0])
                    if begin <= when / 1e6 <= end)


def load(reports, count, interval):
    """Reports of so many devices, every other one an iBeacon, at such an interval in microseconds.
    Yields the records."""
    chance = random.Random(1000)
    devices = []
    for number in range(count):
        device = number.to_bytes(3, "little") + chance.randbytes(2) + b"\xC9"
        if number % 2 == 0:
            data = ibeacon(GALLERY, number // 100 & 0xFFFF, number & 0xFFFF)
        else:
            data = FLAGS + name(f"Device {number}") + manufacturer(0x0059, chance.randbytes(6))
        packet = legacy_event(legacy_report(ADV_NONCONN_IND, RANDOM, device, data, 0))
        head = struct.pack(">IIII", len(packet), len(packet), RECEIVED_EVENT, 0)
        devices.append((head, packet[:-1], 180 + number % 37))
    stamp = struct.Struct(">Q").pack
    first = BTSNOOP_EPOCH + START
    for number in range(reports):
        bits = chance.getrandbits(30)
        head, packet, strength = devices[bits % count]
        # A signed byte: from -80 to -37 dBm, the device's own strength and some noise.
        yield b"".join((head, stamp(first + interval * number), packet,
                        bytes((strength - 4 + (bits >> 27),))))


def positive(text):
    number = int(text)
    if number <= 0:
        raise ValueError
    return number


positive.__name__ = "positive number"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    made = parser.add_subparsers(dest="made", required=True)
    walk = made.add_parser("recording", help="a walk of three minutes past beacons")
    walk.add_argument("file", nargs="?", type=pathlib.Path,
                      default=pathlib.Path(__file__).parent.parent / "example" / "walk.btsnoop")
    piece = made.add_parser("clip", help="a piece of that walk")
    piece.add_argument("file", type=pathlib.Path)
    piece.add_argument("begin", type=float, metavar="FROM")
    piece.add_argument("end", type=float, metavar="TO")
    bulk = made.add_parser("load", help="many reports of many devices")
    bulk.add_argument("file", type=pathlib.Path)
    bulk.add_argument("reports", type=positive)
    bulk.add_argument("--devices", type=positive, default=1000)
    bulk.add_argument("--interval", type=positive, default=1000, metavar="MICROSECONDS")
    arguments = parser.parse_args()
    try:
        with arguments.file.open("wb") as file:
            file.write(BTSNOOP_HEADER)
            if arguments.made == "load":
                file.writelines(load(arguments.reports, arguments.devices, arguments.interval))
            elif arguments.made == "clip":
                file.write(recording(arguments.begin, arguments.end))
            else:
                file.write(recording())
    except OSError as error:
        sys.exit(f"make_capture.py: {arguments.file}: {error.strerror}")


if __name__ == "__main__":
    main()
