"""Hands the open document to the render farm: Extensions, User Scripts, Vorlan."""

import os
import subprocess

import c4d

PROGRAM = "@VORLAN@"


def program():
    return "vorlan" if PROGRAM.startswith("@") else PROGRAM


def frames(document, settings):
    """The frames of the render settings: 1-100, or 1-100x2."""
    fps = document.GetFps()
    sequence = settings[c4d.RDATA_FRAMESEQUENCE]
    if sequence == c4d.RDATA_FRAMESEQUENCE_CURRENTFRAME:
        return str(document.GetTime().GetFrame(fps))
    if sequence == c4d.RDATA_FRAMESEQUENCE_ALLFRAMES:
        first, last = document.GetMinTime().GetFrame(fps), document.GetMaxTime().GetFrame(fps)
    else:
        first = settings[c4d.RDATA_FRAMEFROM].GetFrame(fps)
        last = settings[c4d.RDATA_FRAMETO].GetFrame(fps)
    step = max(1, settings[c4d.RDATA_FRAMESTEP])
    return "%d-%d%s" % (first, last, "x%d" % step if step > 1 else "")


def command_line(scene, output):
    line = 'Commandline -nogui -render "%s" -frame $(First) $(Last) $(Step)' % scene
    return line + (' -oimage "%s"' % output if output else "")


def main():
    document = c4d.documents.GetActiveDocument()
    folder, name = document.GetDocumentPath(), document.GetDocumentName()
    if not folder:
        c4d.gui.MessageDialog("Save the document under a name first.")
        return
    scene = os.path.join(folder, name)
    if not c4d.documents.SaveDocument(document, scene, c4d.SAVEDOCUMENTFLAGS_0, c4d.FORMAT_C4DEXPORT):
        c4d.gui.MessageDialog("The document could not be saved.")
        return
    packet = c4d.gui.InputDialog("Frames in one work unit:", "5")
    if not packet:
        return
    settings = document.GetActiveRenderData()
    arguments = [program(), "submit", "--product", "Command", "--name", os.path.splitext(name)[0],
                 "--frames", frames(document, settings), "--set", "PacketSize=" + packet,
                 "--set", "CommandLine=" + command_line(scene, settings[c4d.RDATA_PATH])]
    try:
        done = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
        c4d.gui.MessageDialog("The farm says:\n" + done.stdout)
    except (OSError, subprocess.TimeoutExpired) as error:
        c4d.gui.MessageDialog("The program vorlan could not be run: %s" % error)


if __name__ == "__main__":
    main()
