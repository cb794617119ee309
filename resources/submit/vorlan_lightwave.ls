@version 2.5
@warnings
@script generic
@name "Submit to Vorlan"

// Hands the open scene to the render farm.

program = "vorlan";

generic
{
    scene = Scene();
    if(scene.filename == nil || scene.filename == "" || scene.filename == "(unnamed)")
    {
        error("Save the scene under a name first.");
        return;
    }
    packet = 5;
    reqbegin("Submit to Vorlan");
    packetControl = ctlinteger("Frames in one work unit", packet);
    if(!reqpost())
        return;
    packet = getvalue(packetControl);
    reqend();
    if(packet < 1)
        packet = 1;

    SaveScene();
    frames = string(scene.framestart, "-", scene.frameend);
    if(scene.framestep > 1)
        frames = string(frames, "x", scene.framestep);
    content = getdir("Content");
    // A quote within a word of the command line.
    quote = "\\\"";
    render = string("lwsn -3 -d", quote, content, quote, " ", quote, scene.filename, quote,
                    " $(First) $(Last) $(Step)");
    line = string(program, " submit --product Command --name \"", scene.name, "\" --frames ", frames,
                  " --set PacketSize=", packet, " --set \"CommandLine=", render, "\"");
    if(system(line) == 0)
        info("The scene is on the render farm.");
    else
        error("The program vorlan could not be run, or has refused the scene: ", line);
}
