#!/usr/bin/python3
"""Whether the kernel, the files, the DHCP server and morvctl say the same of the network, and that it is what is wanted.

view.py SETTING=WANTED ...

    ethN=ADDRESS/PREFIX         static
    ethN=dhcp:NETWORK/PREFIX    a leased address in it; "idle:" instead of "dhcp:" when its client has been killed
    host, dns, gateway          the host name, the name server and the stored gateway
    route                       the gateway of the default route
    hosts                       the address of the host name in /etc/hosts; "*" is any of ours

An empty value means: none. Complaints go to standard output."""
import glob, ipaddress, json, os, socket, subprocess, sys

complaints = []


def same(what, found, wanted):
    if found != wanted:
        complaints.append(f"{what}: {found!r} instead of {wanted!r}")


def output(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout


def text(path):
    try:
        with open(path) as file:
            return file.read()
    except FileNotFoundError:
        return ""


def pairs(path):
    """The keys of a file, each of which may be there once."""
    lines = [line.split("=", 1) for line in text(path).splitlines() if not line.startswith("#")]
    same(f"keys of {path}", sorted(key for key, _ in lines), sorted({key for key, _ in lines}))
    return dict(lines)


def clients():
    """The processes that are DHCP clients, by interface; and udhcpc, which is behind them."""
    found, behind = {}, {}
    for folder in glob.glob("/proc/[0-9]*"):
        words = text(folder + "/cmdline").split("\0") if os.path.exists(folder + "/exe") else []
        if "/sbin/dhcpcd" in words[:2]:
            found.setdefault(words[words.index("/sbin/dhcpcd") + 2], []).append(folder[6:])
        if "udhcpc" in words[:2]:
            behind.setdefault(words[words.index("-i") + 1], []).append(folder[6:])
    return found, behind


wanted = dict(word.split("=", 1) for word in sys.argv[1:])
cards = {name: wanted.pop(name) for name in list(wanted) if name.startswith("eth")}
links = {link["ifname"]: link for link in json.loads(output("ip", "-j", "addr"))}
running, behind = clients()
addresses, shown = [], {}

for name, want in cards.items():
    link = links[name]
    kernel = [entry for entry in link["addr_info"] if entry["family"] == "inet"]
    same(f"addresses of {name}", len(kernel), 1)
    if not kernel:
        continue
    address = ipaddress.ip_interface(f"{kernel[0]['local']}/{kernel[0]['prefixlen']}")
    addresses.append(str(address.ip))
    same(f"{name} is up", "UP" in link["flags"], True)
    same(f"broadcast address of {name}", kernel[0].get("broadcast"), str(address.network.broadcast_address))
    file = {"DEVICE": name, "ONBOOT": "yes", "USERCTL": "no", "BOOTPROTO": "dhcp"}
    if ":" in want:
        state, network = want.split(":")
        same(f"network of {name}", str(address.network), network)
        lease = pairs(f"/etc/dhcpc/dhcpcd-{name}.info")
        same(f"lease of {name}", [lease.get("IPADDR"), lease.get("NETMASK")], [str(address.ip), str(address.netmask)])
        leased = [line.split()[2] for line in text("/run/network/leases").splitlines() if link["address"] in line]
        same(f"what the server has leased to {name}", leased, [str(address.ip)])
        if state == "dhcp":
            same(f"the client of {name}", running.get(name), text(f"/etc/dhcpc/dhcpcd-{name}.pid").split())
        same(f"processes behind {name}", [len(found.get(name, [])) for found in (running, behind)], [int(state == "dhcp")] * 2)
    else:
        same(f"address of {name}", str(address), want)
        same(f"clients of {name}", [running.get(name), behind.get(name)], [None, None])
        file.update(BOOTPROTO="static", IPADDR=str(address.ip), NETMASK=str(address.netmask))
    path = f"/etc/sysconfig/network-scripts/ifcfg-{name}"
    same(path, pairs(path), file)
    same(f"comment in {path}", text(path).splitlines()[:1], ["# by hand"])
    same(f"mode of {path}", os.stat(path).st_mode & 0o7777, 0o640)
    shown[name] = {"name": name, "up": True, "link": True, "assignment": file["BOOTPROTO"], "address": str(address.ip),
                   "netmask": str(address.netmask), "current_address": str(address.ip), "hardware": link["address"],
                   "mtu": pairs("/etc/morvinfo.conf").get(f"{name}_mtu", '"1500"').strip('"')}

stored = pairs("/etc/sysconfig/network")
same("folder of the interfaces' files", sorted(os.listdir("/etc/sysconfig/network-scripts")), [f"ifcfg-{name}" for name in sorted(cards)])
same("folder of the network's file", sorted(os.listdir("/etc/sysconfig")), ["network", "network-scripts"])
same("stored gateway", stored.get("GATEWAY", ""), wanted["gateway"])
same("stored host name", stored.get("HOSTNAME"), wanted["host"])
same("what else was stored", stored.get("NETWORKING"), "yes")
routes = [route["gateway"] for route in json.loads(output("ip", "-j", "route", "show", "default"))]
same("default routes", routes, [wanted["route"]] if wanted["route"] else [])
same("name server", text("/etc/resolv.conf"), f"nameserver\t{wanted['dns']}\n" if wanted["dns"] else "")
same("host name of the kernel", socket.gethostname(), wanted["host"])
named = [line.split() for line in text("/etc/hosts").splitlines() if wanted["host"] in line.split()[1:]]
same(f"lines for {wanted['host']} in /etc/hosts", len(named), 1)
same("other lines of /etc/hosts", [line for line in text("/etc/hosts").splitlines() if line.split() not in named],
     ["127.0.0.1\tlocalhost", "192.0.2.99\tprinter # kept"])
for line in named:
    if line[0] not in (addresses if wanted["hosts"] == "*" else [wanted["hosts"]]):
        complaints.append(f"/etc/hosts has {line[0]} for {wanted['host']}, which is not among {addresses}")

# ---- What morvctl says of it ----


def morvctl(command):
    return json.loads(subprocess.run(["morvctl", "net", command, "--json"], stdout=subprocess.PIPE).stdout)


known = [("up", "UP"), ("running", "LOWER_UP"), ("broadcast", "BROADCAST"), ("multicast", "MULTICAST")]
same("morvctl net interfaces", morvctl("interfaces")["interfaces"],
     [{"name": name, "link": True, "hardware": links[name]["address"], "address": shown[name]["current_address"],
       "flags": [word for word, flag in known if flag in links[name]["flags"]]} for name in sorted(shown)])
same("morvctl net show", morvctl("show"),
     {"interfaces": [shown[name] for name in sorted(shown)], "name_server": wanted["dns"] or None, "gateway": wanted["gateway"] or None,
      "default_route": wanted["route"] or None, "host_name": wanted["host"]})
by_dhcp = any(card["assignment"] == "dhcp" for card in shown.values())
expected = [name for name in sorted(cards) if cards[name].startswith("idle:")]
if wanted["gateway"] != wanted["route"] and (wanted["gateway"] or not by_dhcp):
    expected.append("gateway")
if not wanted["dns"]:
    expected.append("name server")
if named and named[0][0] not in addresses:
    expected.append("host name")
findings = morvctl("check")["findings"]
same(f"subjects of morvctl net check, which says {findings}", sorted({finding["subject"] for finding in findings}), sorted(expected))

if complaints:
    print("\n".join(complaints))
    sys.exit(1)
