// Tables, JSON and GeoJSON in and out of the commands on points, and what travels through them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "support/system.h"
#include "tool/json_check.h"
#include "tool/rows.h"

namespace orbmath_test {

namespace {

class Forms : public ::testing::TestWithParam<Row> {};

TEST_P(Forms, Row) { CheckRow(GetParam()); }

const char* const kFailed = "1 line could not be computed";

// On flat.RPB: line = 1000 - 10000 (lat - 45), sample = 2000 + 10000 (lon - 7) + 0.4 (height - 500).
INSTANTIATE_TEST_SUITE_P(
    Tables, Forms,
    ::testing::Values(
        Row{"named_columns", "project flat.RPB --precision 1", "longitude;lat_deg;ALT (m)\n7.1;45.05;500\n",
            "# line sample\n500.0 3000.0\n", "", 0},
        Row{"others_travel_behind", "project flat.RPB --precision 0",
            "id lat lon h note\nP1 45 7 500 \"a b\"\nP2 45 7 500\n",
            "# line sample id note\n1000 2000 P1 \"a b\"\n1000 2000 P2 -\n", "", 0},
        Row{"errors_keep_the_name", "project flat.RPB --precision 0",
            "id,lat,lon,h\nP 1,x,7,500\nP2,95,7,500\n\nP3,45,7,500\n",
            "# line sample id\nERROR: 'x' is not a finite number (lat) # \"P 1\"\n"
            "ERROR: latitude 95 is not between -90 and 90 # P2\n\n1000 2000 P3\n",
            "2 lines could not be computed", 1},
        Row{"csv", "project flat.RPB --csv --precision 0", "id,lat,lon,h\n\"a \"\"b\"\"\",45,7,500\n\"c,d\",45,7,x\n",
            "id,line,sample,error\n\"a \"\"b\"\"\",1000,2000,\n\"c,d\",,,'x' is not a finite number (height)\n",
            kFailed, 1},
        Row{"csv_of_plain_lines", "locate flat.RPB --csv --precision 0 --height 500 --status", "# a\n1000 2000\n",
            "lat,lon,height,residual,status,error\n45,7,500,0,ok,\n", "", 0},
        Row{"csv_of_nothing", "project flat.RPB --csv", "", "line,sample,error\n", "", 0},
        Row{"a_name_that_is_taken", "project flat.RPB --csv --precision 0", "lat,lon,h,line\n45,7,500,9\n",
            "given_line,line,sample,error\n9,1000,2000,\n", "", 0},
        Row{"columns_option", "project flat.RPB --precision 0 --columns id,lon,lat,h", "P 7 45 500\n", "1000 2000 P\n",
            "", 0},
        Row{"columns_option_lacks_one", "project flat.RPB --columns id,lon,h", "", "", "names no column 'lat'", 2},
        Row{"names_lack_one", "project flat.RPB", "# x\nlat,lon\n45,7\n", "",
            "standard input:2: these names have no column 'height'; name the columns with --columns, or --height H", 1},
        Row{"heights_of_the_option", "project flat.RPB --precision 0 --height 500", "lat,lon\n45,7\n",
            "# line sample\n1000 2000\n", "", 0},
        Row{"lonlat", "project flat.RPB --precision 0 --lonlat", "7.1 45 500\n", "1000 3000\n", "", 0},
        Row{"names_before_lonlat", "project flat.RPB --precision 0 --lonlat", "lat lon h\n45 7.1 500\n",
            "# line sample\n1000 3000\n", "", 0},
        Row{"lonlat_out", "locate flat.RPB --precision 1 --lonlat --height 500", "1000 3000\n", "7.1 45.0 500.0\n", "",
            0},
        Row{"names_in_a_comment", "locate flat.RPB --precision 1 --height 500", "#col\trow\n3000\t1000\n",
            "#col\trow\n45.0 7.1 500.0\n", "", 0},
        Row{"comment_in_the_usual_order", "project flat.RPB --precision 0", "# lat lon height\n45 7 500 # a\n",
            "# lat lon height\n1000 2000 # a\n", "", 0},
        Row{"angles", "project flat.RPB --precision 0", "45:03N 7d6'0\" 500\n45:03E 7 500\n",
            "500 3000\nERROR: '45:03E' is not a finite number (lat)\n", kFailed, 1},
        Row{"angles_out", "locate flat.RPB --dms --precision 2 --height 500", "500 3000\n",
            "45d03'00.00\"N 7d06'00.00\"E 500.00\n", "", 0},
        Row{"decimal_commas", "project flat.RPB --precision 0", "id;lat;lon;h\nP;45,5;7;500\n",
            "# line sample id\nERROR: '45,5' is not a finite number (lat); decimals are written with a point # P\n",
            kFailed, 1},
        Row{"one_name_twice", "project flat.RPB", "X (m),lat,lon,Lat,h\n1,45,7,46,500\n", "",
            "standard input:1: two columns are called 'lat'; name the columns with --columns", 1},
        Row{"utf16", "project flat.RPB", "\xFF\xFEl", "", "standard input: is text in UTF-16 or UTF-32", 1},
        Row{"both_forms", "project flat.RPB --csv --json", "", "", "exclude each other", 2}),
    RowName);

INSTANTIATE_TEST_SUITE_P(
    Json, Forms,
    ::testing::Values(
        Row{"records", "project flat.RPB --json --precision 0",
            "{\"id\":\"a\",\"lat\":45,\"lon\":7,\"h\":500,\"t\":[1,{\"x\":\"}\"}]}\n{\"lon\":7,\"lat\":45,\"h\":null}"
            "\n",
            "{\"input_line\":1,\"line\":1000,\"sample\":2000,\"id\":\"a\",\"t\":[1,{\"x\":\"}\"}]}\n"
            "{\"input_line\":2,\"error\":\"the record has no height\",\"id\":null,\"t\":null}\n",
            kFailed, 1},
        Row{"array_over_lines", "project flat.RPB --csv --precision 0",
            "[\n {\"lat\": 45,\n  \"lon\": 7, \"z\": 500, \"n\": \"\\u00e9, \\\"\"}\n]\n",
            "n,line,sample,error\n\"\xC3\xA9, \"\"\",1000,2000,\n", "", 0},
        Row{"collection", "project flat.RPB --csv --precision 0",
            "{\"type\":\"FeatureCollection\",\"features\":[{\"type\":\"Feature\",\"properties\":{\"n\":1},\"geometry\":"
            "{\"type\":\"Point\",\"coordinates\":[7,45,500]}},\n{\"type\":\"Feature\",\"geometry\":{\"type\":\"Point\","
            "\"coordinates\":[7.1,45,500]},\"properties\":{\"n\":2}}],\"bbox\":[1,2,3,4]}",
            "n,line,sample,error\n1,1000,2000,\n2,1000,3000,\n", "", 0},
        Row{"no_point", "project flat.RPB --precision 0",
            "{\"lat\":45,\"lon\":7,\"h\":500}\n{\"type\":\"Feature\",\"geometry\":null,\"properties\":{}}\nx\n",
            "1000 2000\nERROR: this feature is no point\nERROR: this is no JSON object\n",
            "2 lines could not be computed", 1},
        Row{"not_closed", "project flat.RPB", "{\"lat\":45,\"lon\":7,\"h\":500", "ERROR: this is no JSON object\n",
            kFailed, 1},
        Row{"array_not_closed", "project flat.RPB --precision 0", "[{\"lat\":45,\"lon\":7,\"h\":500},\n",
            "1000 2000\nERROR: this is no JSON object\n", kFailed, 1},
        Row{"array_of_other_things", "project flat.RPB --precision 0",
            "[{\"lat\":45,\"lon\":7,\"h\":500}, [7,45,500], -1.5e0, \"a,]\"]",
            "1000 2000\nERROR: this is no JSON object\nERROR: this is no JSON object\n"
            "ERROR: this is no JSON object\n",
            "3 lines could not be computed", 1},
        Row{"coordinates_before_properties", "project flat.RPB --csv --precision 0",
            "{\"type\":\"Feature\",\"geometry\":{\"type\":\"Point\",\"coordinates\":[7,45,500]},"
            "\"properties\":{\"n\":1,\"lat\":46}}\n{\"type\":\"Feature\",\"geometry\":{\"type\":\"Point\","
            "\"coordinates\":[7.1,45,500]},\"properties\":{\"lat\":46,\"n\":2}}\n",
            "n,lat,line,sample,error\n1,46,1000,2000,\n2,46,1000,3000,\n", "", 0},
        Row{"geojson_out", "locate flat.RPB --geojson --precision 0 --height 500", "1000 3000\nx 1\n",
            "{\"type\":\"FeatureCollection\",\"features\":[\n{\"type\":\"Feature\",\"geometry\":{\"type\":\"Point\","
            "\"coordinates\":[7.1000000000,45.0000000000,500.0000]},\"properties\":{\"input_line\":1,\"lat\":45,"
            "\"lon\":7,"
            "\"height\":500}},\n{\"type\":\"Feature\",\"geometry\":null,\"properties\":{\"input_line\":2,\"error\":"
            "\"'x' is not a finite number (line)\"}}\n]}\n",
            kFailed, 1}),
    RowName);

INSTANTIATE_TEST_SUITE_P(
    Tracks, Forms,
    ::testing::Values(
        Row{"unseen", "intersect flat.RPB right.RPB flat.RPB --precision 2",
            "500 3100 500 2900 - -\nnan NaN 500 2900 500 3100\n- - - - 1 2\n1 2 - 3 4 5\n",
            "45.05 7.10 750.00 0.00\n45.05 7.10 750.00 0.00\n"
            "ERROR: one image alone sees the point, two are needed\nERROR: image 2 has one coordinate of the point "
            "alone\n",
            "2 lines could not be computed", 1},
        Row{"named_images", "intersect a=flat.RPB right.RPB --precision 2 --csv",
            "p,line_right,right_sample,row1,a sample\nP,500,2900,500,3100\nQ,,,500,3100\n",
            "p,lat,lon,height,rms_pixels,error\nP,45.05,7.10,750.00,0.00,\n"
            "Q,,,,,\"one image alone sees the point, two are needed\"\n",
            kFailed, 1},
        Row{"long_table", "intersect a=flat.RPB right.RPB --tracks --precision 2",
            "point,image,line,sample\nQ 1,right,500,2900\nR,a,1,2\nQ 1,a,500,3100\n",
            "45.05 7.10 750.00 0.00 2 \"Q 1\"\nERROR: one image alone sees the point, two are needed # R\n", kFailed,
            1},
        Row{"unknown_image", "intersect a=flat.RPB right.RPB --tracks", "P b 1 2\nP a 1 2\nP a 1 3\n", "",
            "P (standard input:1): no model is called 'b'; name one by NAME=PATH\n"
            "orbmath: P (standard input:3): the point was measured in image 'a' before\n",
            1},
        Row{"point_without_name", "intersect flat.RPB right.RPB --tracks", ",flat,1,2\n,right,1,3\n", "",
            "standard input:1: the point has no name", 1},
        Row{"origin", "intersect flat.RPB right.RPB --tracks --precision 2 --origin one --csv",
            "T;flat;501;3101;0.5\nT;right.RPB;501;2901;1\n",
            "point,lat,lon,height,rms_pixels,images,error\nT,45.05,7.10,750.00,0.00,2,\n", "sigmas are passed over",
            0}),
    RowName);

TEST(FormsTest, APointOfTheCommandLineTakesThePlaceOfFiles) {
  Workspace();
  const ToolRun run = RunTool({"project", "flat.RPB", "--precision", "0", "--point", "45 7 500", "--point=45,7.1,500"});
  EXPECT_EQ(run.out, "1000 2000\n1000 3000\n");
  EXPECT_EQ(RunTool({"project", "flat.RPB", "-", "--point", "45 7 500"}).status, 2);
}

TEST(FormsTest, EachFileHasItsOwnNames) {
  Workspace();
  WriteText("a.csv", "id,lat,lon,h\nA,45,7,500\n");
  WriteText("b.csv", "h;lon;lat;id\n500;7.1;45;B\n");
  WriteText("c.csv", "lat,lon,h,other\n45,7,500,C\n");
  EXPECT_EQ(RunToolLine("project flat.RPB a.csv b.csv --csv --precision 0").out,
            "id,line,sample,error\nA,1000,2000,\nB,1000,3000,\n");
  const ToolRun run = RunToolLine("project flat.RPB a.csv c.csv --csv");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("which one CSV cannot hold"), std::string::npos) << run.err;
}

TEST(FormsTest, ManyRowsKeepTheirOrderAndNamesForAnyNumberOfThreads) {
  Workspace();
  std::string table = "id,lat,lon,h\n", expected = "id,line,sample,error\n", json = "[";
  for (int i = 0; i < 20000; ++i) {
    const std::string id = "P" + std::to_string(i);
    table += id + ",45,7,500\n";
    json += (i == 0 ? "{\"id\":\"" : ",{\"id\":\"") + id + "\",\"lat\":45,\"lon\":7,\"h\":500}";
    expected += id + ",1000,2000,\n";
  }
  WriteText("many.csv", table);
  WriteText("many.json", json + "]");
  for (const char* const line : {"project flat.RPB many.csv --csv --precision 0 --threads 1",
                                 "project flat.RPB many.csv --csv --precision 0 --threads 5",
                                 "project flat.RPB many.json --csv --precision 0 --threads 5"}) {
    EXPECT_EQ(RunToolLine(line).out, expected) << line;
  }
}

TEST(FormsTest, AnOutputFileComesWholeOrNotAtAll) {
  Workspace();
  WriteText("kept.csv", "precious");
  EXPECT_EQ(RunToolLine("project flat.RPB nowhere.txt --output kept.csv").status, 1);
  EXPECT_EQ(ReadText("kept.csv"), "precious");
  EXPECT_EQ(RunToolLine("project flat.RPB --output kept.csv --precision 0", "45 7 500\n").out, "");
  EXPECT_EQ(ReadText("kept.csv"), "1000 2000\n");
  if (!HaveShell()) GTEST_SKIP() << "there is no bash";
  // Stopped in the middle: the input stays open, and the tool has written some of the output.
  WriteText("kept.csv", "precious");
  const std::string script = "cd '" + Workspace() +
                             "' && { { echo 45 7 500; sleep 2; } | '" ORBMATH_TOOL
                             "' project flat.RPB --output kept.csv & } ; sleep 0.5; kill -TERM $!; wait $!";
  WriteText("stop.sh", script);
  EXPECT_NE(std::system(("bash '" + Workspace() + "/stop.sh' 2> /dev/null").c_str()), 0);
  EXPECT_EQ(ReadText("kept.csv"), "precious");
}

TEST(FormsTest, QuietLeavesErrorsAlone) {
  Workspace();
  EXPECT_NE(RunToolLine("locate flat.RPB", "1000 2000\n").err, "");
  EXPECT_EQ(RunToolLine("locate flat.RPB --quiet", "1000 2000\n").err, "");
  EXPECT_NE(RunToolLine("locate nowhere.RPB --quiet").err, "");
  // No colours where standard error is no terminal.
  EXPECT_EQ(RunToolLine("locate nowhere.RPB").err.find('\033'), std::string::npos);
}

TEST(FormsTest, JsonOfTablesIsJson) {
  Workspace();
  const char* const table = "\"i\"\"d\",lat,lon,h,n,m\n\"\\ \xFF\",45,7,500,007,1e5\n";
  const ToolRun run = RunToolLine("project flat.RPB --json --precision 0", table);
  EXPECT_EQ(run.out,
            "{\"input_line\":2,\"line\":1000,\"sample\":2000,\"i\\\"d\":\"\\\\ \\ufffd\",\"n\":\"007\",\"m\":1e5}\n");
  EXPECT_TRUE(IsJson(run.out.substr(0, run.out.size() - 1))) << run.out;
  std::string collection = RunToolLine("project flat.RPB --geojson", table).out;
  collection.erase(std::remove(collection.begin(), collection.end(), '\n'), collection.end());
  EXPECT_TRUE(IsJson(collection)) << collection;
}

}  // namespace

}  // namespace orbmath_test
