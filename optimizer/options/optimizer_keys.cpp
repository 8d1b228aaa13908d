#include "optimizer/options/optimizer_options.h"

namespace zarn {

// The keys of the mode that is chosen are required; those of the other are not looked at.
const SettingKeys& DdrOptimizerKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("mode", JsonType::String)
            .Words({"manual", "auto"}, Outside::Refused)
            .Means("exactly so"),
        SettingKey::Required("manualMode.mpamName", JsonType::Array)
            .Of(JsonType::String)
            .Limits("`cpu`, `aic_dat`, `aic_ins`, `imgp_venc`, `imgp_vdec`, `imgp_vpc`, "
                    "`isp_vicap`, `isp_viproc`, `isp_vipe`, `sdma`")
            .Means("the master that a position of the four lists is about; one may be listed more "
                   "than once. An empty list sets nothing, whatever the other lists hold"),
        SettingKey::Required("manualMode.bwHigh", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Within(3, 51, Outside::Adjusted)
            .Limits("3 to 51")
            .Unit("GB/s")
            .Means("upper bound; below 3 becomes 3, above 51 becomes 51, with a warning"),
        SettingKey::Required("manualMode.bwLow", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("at most the upper bound")
            .Unit("GB/s")
            .Means("lower bound; above the upper bound becomes that, with a warning"),
        SettingKey::Required("manualMode.hardLimit", JsonType::Array)
            .Of(JsonType::Integer)
            .Within(0, 1, Outside::Adjusted)
            .Limits("0 or 1")
            .Means("1: the upper bound is a hard cap. Any other integer becomes 0, with a warning"),
        SettingKey::Required("autoMode.stressLevel", JsonType::Object)
            .Limits("may be empty")
            .Means("levels for any of the groups `aic`, `cpu`, `imgp`"),
        SettingKey::Optional("autoMode.stressLevel.<group>", JsonType::Unsigned, "none")
            .Within(0, 10, Outside::Adjusted)
            .Limits("0 to 10; 16 bits are kept")
            .Means("above 10 becomes 10, with a warning. Checked and kept; the stress benchmark "
                   "has settings "
                   "of its own"),
        SettingKey::Required("autoMode.stressNode", JsonType::String).Means("kept likewise"),
        SettingKey::Required("autoMode.omModel", JsonType::String).Means("kept likewise"),
        SettingKey::Required("autoMode.optAlg", JsonType::String)
            .Words({"pso"}, Outside::Refused)
            .Means("the search"),
        SettingKey::Required("psoConf.psoSpaceBounds.<group>", JsonType::Array)
            .Of(JsonType::Unsigned)
            .Limits("two; 0 to 51, the first below the second")
            .Unit("GB/s")
            .Means("for each of `aic`, `cpu`, `imgp`: [low, up]. A low one not below the upper "
                   "becomes 0, then an upper one above 51 becomes 51, each with a warning. First "
                   "bounds are drawn from low, low + 2 and so on below up"),
        SettingKey::Required("psoConf.psoVelBounds.<group>", JsonType::Array)
            .Of(JsonType::Integer)
            .Limits("two; -20 to 20, the first not above the second")
            .Unit("GB/s")
            .Means("likewise: the least and greatest change from a particle's first bounds. A low "
                   "one below -20 or above the upper becomes -20, then an upper one above 20 "
                   "becomes 20, each with a warning"),
        SettingKey::Optional("psoConf.psoParams.numSize", JsonType::Unsigned, "20")
            .Limits("16 bits are kept")
            .Means("particles"),
        SettingKey::Optional("psoConf.psoParams.numIterate", JsonType::Unsigned, "20")
            .Limits("16 bits are kept")
            .Means("iterations"),
        SettingKey::Optional("psoConf.psoParams.w_v", JsonType::Number, "0.8")
            .Limits("single precision")
            .Means("inertia"),
        SettingKey::Optional("psoConf.psoParams.w_p", JsonType::Number, "0.5")
            .Limits("single precision")
            .Means("pull of the own best"),
        SettingKey::Optional("psoConf.psoParams.w_g", JsonType::Number, "0.5")
            .Limits("single precision")
            .Means("pull of the best of all"),
        SettingKey::Optional("psoConf.psoParams.perTime", JsonType::Unsigned, "30")
            .Limits("16 bits are kept")
            .Means("read, and used by nothing"),
        SettingKey::Optional("psoConf.psoIndexs.aiWorseRate", JsonType::Number, "0.1")
            .Limits("single precision")
            .Unit("share")
            .Means("of their frame rate that AI and image stress may lose"),
        SettingKey::Optional("psoConf.psoIndexs.camFpsBound", JsonType::Unsigned, "28")
            .Limits("16 bits are kept")
            .Unit("frames/s")
            .Means("the camera's frame rate must stay above it"),
        SettingKey::Optional("psoConf.psoIndexs.beliefProb", JsonType::Number, "0.05")
            .Limits("single precision")
            .Means("read, and used by nothing"),
    };
    return keys;
}

}  // namespace zarn
