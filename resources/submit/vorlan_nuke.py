"""Hands the open script to the render farm: the menu Vorlan of Nuke."""

import os
import subprocess

import nuke

PROGRAM = "@VORLAN@"


def program():
    return "vorlan" if PROGRAM.startswith("@") else PROGRAM


def write_nodes():
    """The selected Write nodes, else all that are on."""
    selected = [node for node in nuke.selectedNodes() if node.Class() == "Write"]
    return selected or [node for node in nuke.allNodes("Write") if not node["disable"].value()]


def command_line(script, nodes):
    names = ",".join(node.fullName() for node in nodes)
    return 'nuke -x -F $(First)-$(Last)x$(Step) -X %s "%s"' % (names, script)


def output_option(nodes):
    """What has to be there after each frame, where it can be told."""
    path = nodes[0]["file"].value() if len(nodes) == 1 else ""
    head, marks, tail = path.partition("%04d")
    return ["--set", "OutputFile=" + head + "$(Frame:pad=4)" + tail] if marks and "%" not in head + tail else []


def submit():
    script = nuke.root().name()
    nodes = write_nodes()
    if not os.path.isabs(script):
        nuke.message("Save the script under a name first.")
        return
    if not nodes:
        nuke.message("There is no Write node that is switched on.")
        return
    panel = nuke.Panel("Submit to Vorlan")
    first, last = int(nuke.root()["first_frame"].value()), int(nuke.root()["last_frame"].value())
    panel.addSingleLineInput("Frames", "%d-%d" % (first, last))
    panel.addSingleLineInput("Frames in one work unit", "5")
    if not panel.show():
        return
    nuke.scriptSave(script)
    arguments = [program(), "submit", "--product", "Command", "--name", os.path.splitext(os.path.basename(script))[0],
                 "--frames", panel.value("Frames"), "--set", "PacketSize=" + panel.value("Frames in one work unit"),
                 "--set", "CommandLine=" + command_line(script, nodes)] + output_option(nodes)
    try:
        done = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
        nuke.message("The farm says:\n" + done.stdout)
    except (OSError, subprocess.TimeoutExpired) as error:
        nuke.message("The program vorlan could not be run: %s" % error)


if nuke.GUI:
    nuke.menu("Nuke").addMenu("Vorlan").addCommand("Submit to Vorlan", submit)
