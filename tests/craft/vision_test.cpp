// Vision crafts: their table.

#include "tests/support/operation_table.h"

void show(std::ostream& out, const VisionParam& p) {
  out << shown(p.cameraList.currentName, p.cameraList.listNum, p.endMark, p.hasTCS, p.timeOut, p.ip, p.portOne,
               p.triggerOnce, p.triggerStr, p.userCoordNum);
}
void show(std::ostream& out, const VisionRange& p) { out << shown(p.maxX, p.maxY, p.maxZ, p.minX, p.minY, p.minZ); }
void show(std::ostream& out, const VisionPositionParam& p) {
  out << shown(p.position, p.excursion, p.angleDirection, p.datumPointDeg, p.zexcursion, p.sampleData, p.scale);
}
void show(std::ostream& out, const VisionCalibrationPoint& p) { out << shown(p.pixelPos, p.robotPosDeg); }
void show(std::ostream& out, const VisionCalibrationData& p) {
  out << shown(p.visionNum, p.calibration.calibrated, p.calibration.pointNum, p.calibration.point);
}

namespace {

const std::string craftText = R"({"robot":#,"visionNum":4})";

const QueryRow queryRows[] = {
    query("vision_get_basic_parameter", Strategy::GetVisionParameter, craftText, Strategy::VisionParameterReply,
          std::tuple<VisionParam>{}, BOTH_FORMS_OF(vision_get_basic_parameter, 4), DECODER(parse_get_vision_parameter),
          {{R"({"cameraList":{"currentName":"a","listNum":2},"protocol":{"endMark":";","hasTCS":true,"timeOut":1.5},)"
            R"("socket":{"IP":"1.2.3.4","portOne":5},"trigger":{"triggerOnce":1,"triggerStr":"T"},"userCoordNum":6})",
            "a 2 ; true 1.5 1.2.3.4 5 true T 6"},
           {R"({"endMark":";"})", " 0 ; false 0  0 false  0"}},
          R"({"endMark":";","socket":{"portOne":"x"}})"),
    query("vision_get_range", Strategy::GetVisionRange, craftText, Strategy::VisionRangeReply,
          std::tuple<VisionRange>{{9, 9, 9, 9, 9, 9}}, BOTH_FORMS_OF(vision_get_range, 4),
          DECODER(parse_get_vision_range), {{R"({"maxX":1,"maxY":2,"maxZ":3,"minX":-1,"minY":-2})", "1 2 3 -1 -2 9"}},
          R"({"maxX":1,"minZ":[]})"),
    query("vision_get_position_parameter", Strategy::GetVisionPositionParameter, craftText,
          Strategy::VisionPositionParameterReply, std::tuple<VisionPositionParam>{},
          BOTH_FORMS_OF(vision_get_position_parameter, 4), DECODER(parse_get_vision_position_param),
          {{R"({"position":[1,2],"excursion":[3],"angleDirection":4,"datumPointDeg":[5],"Zexcursion":6.5,)"
            R"("sampleData":[],"scale":7.5})",
            "[1,2] [3] 4 [5] 6.5 [] 7.5"}},
          R"({"position":[1],"scale":"big"})"),
    query("vision_get_calibrate_data", Strategy::GetVisionCalibrateData, craftText, Strategy::VisionCalibrateDataReply,
          std::tuple<VisionCalibrationData>{}, BOTH_FORMS_OF(vision_get_calibrate_data, 4),
          DECODER(parse_get_vision_calibrate_data),
          {{R"({"visionNum":4,"calibration":{"calibrated":true,"point_num":9,"point":[{"pixel_pos":[1,2],)"
            R"("robot_pos_deg":[3]},{}]}})",
            "4 true 9 [[1,2] [3],[] []]"}},
          R"({"visionNum":4,"calibration":{"point":{"pixel_pos":[1]}}})"),
};

INSTANTIATE_TEST_SUITE_P(Vision, Queries, ::testing::ValuesIn(queryRows));

}  // namespace
