// Arc welding: its tables, and the rules of its own.

#include <limits>

#include "tests/support/operation_table.h"

void show(std::ostream& out, const ArcParam& p) {
  out << shown(p.weldVoltage, p.weldCurrent, p.arcOnCurrent, p.arcOnVoltage, p.arcOnTime, p.arcOnRampEnable,
               p.arcOnRampMode, p.arcOnRampTime, p.arcOffCurrent, p.arcOffVoltage, p.arcOffTime, p.arcOffRampEnable,
               p.arcOffRampMode, p.arcOffRampTime);
}
void show(std::ostream& out, const WaveParam& p) {
  out << shown(p.type, p.swingFreq, p.swingAmplitude, p.radius, p.LTypeAngle, p.moveWhenEdgeStay, p.leftStayTime,
               p.rightStayTime, p.initialDir, p.horizontalDeflection, p.verticalDeflection);
}
void show(std::ostream& out, const WeldState& p) {
  out << shown(p.pistolSwitch, p.arcingSuccess, p.handWireFeed, p.weldCurrent, p.weldVoltage, p.weldTime, p.weldPWM);
}

namespace {

ArcParam arc{20, 150, 160, 21, 0.5, true, 2, 0.25, 100, 18, 1.5, false, 1, 0.75};
WaveParam waveOf(int type) { return {type, 2, 3, 4, 5, true, 6, 7, 1, 8, 9}; }

const CommandRow commandRows[] = {
    {"weld_set_config", Strategy::SetWeldConfig,
     "{\"arcoff_parameters\":{\"arcoff_current\":100.0,\"arcoff_ramp_enable\":false,\"arcoff_ramp_mode\":1,"
     "\"arcoff_ramp_time\":0.75,\"arcoff_time\":1.5,\"arcoff_voltage\":18.0,\"ramp_enable\":false,\"ramp_mode\":1,"
     "\"ramp_time\":0.75},\"arcon_parameters\":{\"arcon_current\":160.0,\"arcon_ramp_enable\":true,"
     "\"arcon_ramp_mode\":2,\"arcon_ramp_time\":0.25,\"arcon_time\":0.5,\"arcon_voltage\":21.0,\"ramp_enable\":true,"
     "\"ramp_mode\":2,\"ramp_time\":0.25},\"num\":4,\"robot\":#,"
     "\"weld_parameters\":{\"weld_current\":150.0,\"weld_voltage\":20.0}}\n",
     BOTH_FORMS_OF(weld_set_config, 4, arc)},
    {"weave 0", Strategy::SetWaveWeldParam,
     "{\"num\":1,\"parameter\":{\"horizontal_angle\":8.0,\"init_direction\":1,\"vertical_angle\":9.0,"
     "\"weaving_ampli\":3.0,\"weaving_freq\":2.0,\"weaving_type\":0},\"robot\":#}\n",
     BOTH_FORMS_OF(weld_set_wave_weld_param, 1, waveOf(0))},
    {"weave 3", Strategy::SetWaveWeldParam,
     "{\"num\":1,\"parameter\":{\"horizontal_angle\":8.0,\"init_direction\":1,\"isMove\":true,"
     "\"left_standing_time\":6.0,\"right_standing_time\":7.0,\"vertical_angle\":9.0,"
     "\"weaving_ampli\":3.0,\"weaving_freq\":2.0,\"weaving_type\":3},\"robot\":#}\n",
     BOTH_FORMS_OF(weld_set_wave_weld_param, 1, waveOf(3))},
    {"weave 2", Strategy::SetWaveWeldParam,
     "{\"num\":1,\"parameter\":{\"L_angle\":5.0,\"horizontal_angle\":8.0,\"init_direction\":1,\"radius\":4.0,"
     "\"vertical_angle\":9.0,\"weaving_ampli\":3.0,\"weaving_freq\":2.0,\"weaving_type\":2},\"robot\":#}\n",
     BOTH_FORMS_OF(weld_set_wave_weld_param, 1, waveOf(2))},
    {"weld enable", Strategy::OperateWelder, "{\"robot\":#,\"type\":1,\"value\":1}\n",
     BOTH_FORMS_OF(weld_set_enable, 1)},
    {"weld spot", Strategy::OperateWelder, "{\"robot\":#,\"type\":3,\"value\":0}\n",
     BOTH_FORMS_OF(weld_set_hand_spot, 0)},
    {"weld feed", Strategy::OperateWelder, "{\"robot\":#,\"type\":4,\"value\":1}\n",
     BOTH_FORMS_OF(weld_set_feed_wire, 1)},
    {"weld rewind", Strategy::OperateWelder, "{\"robot\":#,\"type\":5,\"value\":1}\n",
     BOTH_FORMS_OF(weld_set_rewind_wire, 1)},
    {"weld gas", Strategy::OperateWelder, "{\"robot\":#,\"type\":6,\"value\":1}\n",
     BOTH_FORMS_OF(weld_set_supply_gas, 1)},
};

const std::string robotLine = "{\"robot\":#}\n";

const QueryRow queryRows[] = {
    query("weld_get_config", Strategy::GetWeldConfig, "{\"num\":4,\"robot\":#}\n", Strategy::WeldConfigReply,
          std::tuple<ArcParam>{arc}, BOTH_FORMS_OF(weld_get_config, 4), DECODER(parse_receive_weld_config),
          {{R"({"weld_parameters":{"weld_voltage":1,"weld_current":2},"arcon_parameters":{"arcon_current":3,)"
            R"("arcon_voltage":4,"arcon_time":5,"arcon_ramp_enable":false,"arcon_ramp_mode":6.9,"arcon_ramp_time":7},)"
            R"("arcoff_parameters":{"arcoff_current":8,"arcoff_voltage":9,"arcoff_time":10,"ramp_enable":true,)"
            R"("ramp_mode":11.2,"ramp_time":12,"arcoff_ramp_time":99}})",
            "1 2 3 4 5 false 6 7 8 9 10 true 11 12"},
           {R"({"arcoff_parameters":{"ramp_time":1}})", "20 150 160 21 0.5 true 2 0.25 100 18 1.5 false 1 1"}},
          R"({"weld_parameters":{"weld_voltage":1},"arcon_parameters":[]})"),
    query("weld_get_wave_weld_param", Strategy::GetWaveWeldParam, "{\"num\":4,\"robot\":#}\n",
          Strategy::WaveWeldParamReply, std::tuple<WaveParam>{waveOf(0)}, BOTH_FORMS_OF(weld_get_wave_weld_param, 4),
          DECODER(parse_received_waveweld_data),
          {{R"({"parameter":{"weaving_type":2,"weaving_freq":1.5,"weaving_ampli":2.5,"L_angle":3.5,"radius":4.5,)"
            R"("isMove":false,"left_standing_time":5.5,"right_standing_time":6.5,"init_direction":7,)"
            R"("horizontal_angle":8.5,"vertical_angle":9.5}})",
            "2 1.5 2.5 4.5 3.5 false 5.5 6.5 7 8.5 9.5"}},
          R"({"parameter":{"weaving_type":1,"radius":[]}})"),
    query("weld_get_feed_wire_status", Strategy::GetFeedWireStatus, robotLine, Strategy::FeedWireStatusReply,
          std::tuple<std::vector<int>>{{9, 9}}, BOTH_FORMS(weld_get_feed_wire_status),
          DECODER(parse_receive_current_handle_operate),
          {{R"({"feedWire":1,"returnWire":2,"aspiration":3,"weldEnabled":4,"spotWeldEnabled":true})", "[1,2,3,4,1]"},
           {R"({"aspiration":1})", "[9,9,1,0,0]"}},
          R"({"feedWire":1,"weldEnabled":"on"})"),
    query("weld_get_monitor_status", Strategy::GetWeldMonitor, robotLine, Strategy::WeldMonitorReply,
          std::tuple<WeldState>{}, BOTH_FORMS(weld_get_monitor_status), DECODER(parse_recv_monitor_status),
          {{R"({"pistolSwitch":1,"arcingSuccess":2,"handWireFeed":3,"weldCurrent":4.5,"weldVoltage":5.5,)"
            R"("weldRunTime":6.5,"weldRunDutyRatio":7.5})",
            "1 2 3 4.5 5.5 6.5 7.5"}},
          R"({"pistolSwitch":1,"weldRunTime":"long"})"),
};

INSTANTIATE_TEST_SUITE_P(Welding, Commands, ::testing::ValuesIn(commandRows));
INSTANTIATE_TEST_SUITE_P(Welding, Queries, ::testing::ValuesIn(queryRows));

class Welding : public ConnectedTest {};

TEST_F(Welding, RefusesWhatIsOutOfRangeAndSendsNothing) {
  for (const double outside :
       {-0.5, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    ArcParam param = arc;
    param.arcOffRampTime = outside;
    EXPECT_EQ(weld_set_config(robot, 1, param), PARAM_ERR) << outside;
  }
  EXPECT_EQ(weld_set_wave_weld_param(unknownHandle, 1, waveOf(4)), DISCONNECT);
  EXPECT_EQ(weld_set_wave_weld_param(robot, 1, waveOf(4)), PARAM_ERR);
  EXPECT_EQ(weld_set_wave_weld_param(robot, 1, waveOf(-1)), PARAM_ERR);
  int synchronised = 0;
  EXPECT_EQ(get_speed(robot, synchronised), SUCCESS);
  EXPECT_EQ(controller.received().size(), 1U);  // nothing else was sent
}

}  // namespace
