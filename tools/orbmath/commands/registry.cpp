// The list of commands.

#include "commands/registry.h"

#include "commands/did_you_mean.h"
#include "errors.h"

namespace orbmath_tool {

const char* const kToolSummary = "Rational polynomial camera models (RPC) at the shell.";
const char* const kToolNotes =
    "Angles are degrees, heights metres above the ellipsoid, image coordinates pixels. Ground points are\n"
    "'lat lon height', image points 'line sample', one point a line, between blanks, tabs or commas; '#' starts a\n"
    "comment. A line that cannot be computed becomes a line beginning with 'ERROR: ' in its place. A model or a file\n"
    "of points called '-' is read from standard input.\n\n"
    "Exit status: 0 when all went well, 1 when a point, a file or a computation failed, 2 for wrong usage.";

const std::vector<CommandEntry>& Commands() {
  static const std::vector<CommandEntry> commands = {
      {"info", "Say what a model file holds and how well its approximation and inversion do.", MakeInfo},
      {"project", "Ground points to image points.", MakeProject},
      {"locate", "Image points to ground points at a known height or on terrain.", MakeLocate},
      {"intersect", "Points seen in several images to ground points.", MakeIntersect},
      {"convert", "Write a model file in another form.", MakeConvert},
      {"fit", "Fit a model to points whose ground and image coordinates are known.", MakeFit},
      {"invert", "Fit the inverse of a model: image and height to latitude and longitude.", MakeInvert},
      {"refine", "Correct a model in image space with ground control or image ties.", MakeRefine},
      {"adjust", "Correct the models of many images together by ties and control points.", MakeAdjust},
      {"export", "Write an adjusted model as a plain one that carries its refinement.", MakeExport},
      {"compare", "Compare two models field by field and pixel by pixel.", MakeCompare},
      {"ortho", "Make a map of an image and the terrain under it (orthorectify).", MakeOrtho},
      {"check", "Say whether models are fit for use, and what is wrong with those that are not.", MakeCheck},
      {"grid", "Write the ground of an image's pixels, or the image points of a map's, as a raster.", MakeGrid},
      {"pairs", "Rank the stereo pairs of many images by overlap, angles and precision of height.", MakePairs},
      {"help", "Print the help of a command, or its manual page.", MakeHelp},
      {"completion", "Print what a shell needs to complete commands, options and values.", MakeCompletion},
  };
  return commands;
}

const CommandEntry& FindCommand(const std::string& name) {
  std::vector<std::string> names;
  for (const CommandEntry& entry : Commands()) {
    if (name == entry.name) return entry;
    names.push_back(entry.name);
  }
  throw UsageError("'" + name + "' is no command" + DidYouMean(name, names) + " ('orbmath --help' lists them)");
}

DeclaredCommand Declare(const CommandEntry& entry) {
  DeclaredCommand declared;
  declared.command = entry.make();
  declared.line =
      std::make_unique<CommandLine>(std::string("orbmath ") + entry.name, entry.summary, declared.command->Notes());
  declared.command->Declare(*declared.line);
  return declared;
}

}  // namespace orbmath_tool
