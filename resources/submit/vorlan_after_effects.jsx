// Hands the open composition to the render farm: File, Scripts, vorlan_after_effects.
(function () {
    var program = "vorlan";

    // The text as one word of a command line of this system.
    function quoted(text) {
        if ($.os.indexOf("Windows") === 0) {
            return '"' + text.replace(/"/g, '\\"') + '"';
        }
        return "'" + text.replace(/'/g, "'\\''") + "'";
    }

    // The work area of the composition: 1-100.
    function frames(comp) {
        var first = Math.round((comp.displayStartTime + comp.workAreaStart) * comp.frameRate);
        var count = Math.round(comp.workAreaDuration * comp.frameRate);
        return first + "-" + (first + count - 1);
    }

    function renderLine(project, comp, output) {
        return 'aerender -project "' + project.fsName + '" -comp "' + comp.name +
            '" -s $(First) -e $(Last) -i $(Step) -output "' + output.fsName + '"';
    }

    var comp = app.project.activeItem;
    if (!(comp instanceof CompItem)) {
        alert("Open the composition that is to be rendered first.", "Vorlan");
        return;
    }
    if (!app.project.file) {
        alert("Save the project under a name first.", "Vorlan");
        return;
    }
    var output = File.saveDialog("Where do the images go? The name needs [####] for the frame's number.");
    if (!output) {
        return;
    }
    var packet = parseInt(prompt("Frames in one work unit:", "10", "Vorlan"), 10);
    if (!(packet > 0)) {
        return;
    }
    app.project.save();
    var line = program + " submit --product Command --name " + quoted(comp.name) +
        " --frames " + frames(comp) + " --set PacketSize=" + packet +
        " --set " + quoted("CommandLine=" + renderLine(app.project.file, comp, output));
    var said = system.callSystem(line);
    alert("The farm says:\n" + (said || "nothing. Is the program vorlan on the search path of this machine?"), "Vorlan");
}());
