// Node-RED for a device: one fixed flow, no editor, no HTTP, nothing written to disk.
// --userDir names the folder with scenario.json.

const fs = require("fs");
const path = require("path");

const userDir = process.argv[process.argv.indexOf("--userDir") + 1];
const scenario = JSON.parse(fs.readFileSync(path.join(userDir, "scenario.json"), "ascii"));

// Every node that comes with Node-RED and is not in the flow.
const unused = [
    "05-junction", "05-tls", "06-httpproxy", "10-file", "10-mqtt", "10-switch", "15-change", "16-range",
    "17-split", "18-sort", "19-batch", "20-inject", "21-debug", "21-httpin", "21-httprequest", "22-websocket",
    "23-watch", "24-complete", "25-catch", "25-status", "60-link", "70-CSV", "70-HTML", "70-JSON", "70-XML",
    "70-YAML", "80-template", "89-delay", "89-trigger", "90-comment", "90-exec", "91-global-config",
    "98-unknown", "rbe",
];

module.exports = {
    flowFile: path.join(__dirname, "flow.json"),
    nodesExcludes: unused.map(name => `${name}.js`),
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
