// Node-RED for a device: one fixed flow, no editor, no HTTP, nothing written to disk.
// --userDir names the folder with scenario.json.

const fs = require("fs");
const path = require("path");

const userDir = process.argv[process.argv.indexOf("--userDir") + 1];
const scenario = JSON.parse(fs.readFileSync(path.join(userDir, "scenario.json"), "ascii"));

module.exports = {
    flowFile: path.join(__dirname, "flow.json"),
    readOnly: true,
    disableEditor: true,
    httpAdminRoot: false,
    httpNodeRoot: false,
    telemetry: { enabled: false, updateNotification: false },
    diagnostics: { enabled: false, ui: false },
    runtimeState: { enabled: false, ui: false },
    contextStorage: { default: { module: "memory" } },
    logging: { console: { level: "off", metrics: false, audit: false } },
    functionGlobalContext: { scenario },
    functionExternalModules: true,
};
