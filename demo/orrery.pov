// The demo scene: a brass orrery on a dark, wet stone, over one loop of 48 frames.
// clock runs from 0 to 1; the last frame joins the first.

#version 3.7;

#include "colors.inc"
#include "metals.inc"
#include "textures.inc"

global_settings {
  assumed_gamma 1.0
  max_trace_level 8
}

#declare Turn = 360 * clock;

camera {
  location <3.2 * sin(radians(Turn / 48)), 3.1, -8.2>
  look_at <0, 1.35, 0>
  right x * image_width / image_height
  angle 42
}

// A warm key with a soft edge, and a cold rim from behind.
light_source {
  <-6, 9, -7> rgb <1.0, 0.86, 0.68> * 1.15
  area_light <1.6, 0, 0>, <0, 0, 1.6>, 4, 4
  adaptive 1
  jitter
  circular
}
light_source { <8, 5, 9> rgb <0.30, 0.45, 0.75> * 0.9 shadowless }

sky_sphere {
  pigment {
    gradient y
    color_map {
      [0.00 rgb <0.010, 0.012, 0.018>]
      [0.45 rgb <0.035, 0.050, 0.085>]
      [1.00 rgb <0.005, 0.006, 0.012>]
    }
  }
}

plane {
  y, 0
  pigment { rgb <0.030, 0.034, 0.040> }
  normal { bumps 0.06 scale <0.7, 1, 0.25> }
  finish { diffuse 0.6 specular 0.25 roughness 0.02 reflection { 0.05, 0.45 fresnel on } conserve_energy }
  interior { ior 1.33 }
}

#declare Brass = texture {
  pigment { rgb <0.78, 0.54, 0.22> }
  finish { ambient 0 diffuse 0.35 specular 0.75 roughness 0.012 metallic reflection { 0.38 metallic } brilliance 3 }
}

#declare Steel = texture {
  pigment { rgb <0.55, 0.58, 0.62> }
  finish { ambient 0 diffuse 0.3 specular 0.8 roughness 0.01 metallic reflection { 0.45 metallic } }
}

// The lamp in the middle: glows, and lights what turns around it.
#declare Pulse = 1 + 0.12 * sin(radians(Turn * 2));
light_source {
  <0, 2, 0> rgb <1.0, 0.62, 0.25> * 0.9 * Pulse
  fade_distance 2.2
  fade_power 2
  looks_like {
    sphere {
      0, 0.42
      pigment { marble turbulence 0.9 color_map { [0 rgb <1, 0.75, 0.35>] [1 rgb <1, 0.42, 0.08>] } scale 0.35 rotate y * Turn }
      finish { emission 1.5 * Pulse diffuse 0 }
    }
  }
}

// The stand.
union {
  cylinder { <0, 0.00, 0>, <0, 0.10, 0>, 0.90 }
  torus { 0.84, 0.06 translate y * 0.11 }
  cone { <0, 0.1, 0>, 0.28, <0, 0.55, 0>, 0.07 }
  cylinder { <0, 0.5, 0>, <0, 1.58, 0>, 0.055 }
  texture { Brass }
}

// A ring that carries one planet.
#macro Ring(Radius, Tilt, Speed, Phase, Size, Colour)
  union {
    torus { Radius, 0.028 texture { Brass } }
    #local I = 0;
    #while (I < 24)
      box { <Radius - 0.06, -0.035, -0.012>, <Radius + 0.06, 0.035, 0.012> rotate y * I * 15 texture { Steel } }
      #local I = I + 1;
    #end
    sphere {
      <Radius, 0, 0>, Size
      pigment { granite turbulence 0.4 color_map { [0 rgb Colour * 0.35] [0.6 rgb Colour] [1 rgb Colour * 1.4] } scale Size * 1.5 }
      finish { ambient 0.01 diffuse 0.75 specular 0.35 roughness 0.03 reflection { 0.02, 0.18 } }
      rotate y * (Phase + Turn * Speed)
    }
    rotate <Tilt, 0, Tilt * 0.6>
    rotate y * (Turn + Phase)
    translate y * 2
  }
#end

Ring(0.85, 10, 2, 0, 0.13, <0.75, 0.35, 0.22>)
Ring(1.35, -14, 1, 130, 0.19, <0.25, 0.52, 0.78>)
Ring(1.95, 18, 1, 250, 0.16, <0.36, 0.68, 0.42>)
Ring(2.60, -8, 1, 40, 0.27, <0.82, 0.66, 0.45>)

// Glass beads in a circle on the stone, each lit by the lamp.
#declare K = 0;
#while (K < 14)
  sphere {
    <3.35, 0.2, 0>, 0.2
    pigment { rgbt <0.92, 0.96, 1, 0.94> }
    finish { ambient 0 diffuse 0.05 specular 0.9 roughness 0.002 reflection { 0.04, 0.8 fresnel on } conserve_energy }
    interior { ior 1.5 }
    rotate y * (K * 360 / 14 - Turn / 14)
  }
  #declare K = K + 1;
#end
