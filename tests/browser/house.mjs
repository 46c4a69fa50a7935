// The practice appliance behind a real web server, and a browser in front of it.
import { execFileSync, spawn } from "node:child_process";
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const project = fileURLToPath(new URL("../..", import.meta.url));
const FLAGS = ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
  "--disable-component-update", "--disable-sync"];

const freePort = () => new Promise((resolve) => {
  const server = createServer().listen(0, "127.0.0.1", () => {
    const { port } = server.address();
    server.close(() => resolve(port));
  });
});

async function until(condition) {
  for (const end = Date.now() + 20000; !(await condition()); ) {
    if (Date.now() > end) throw new Error(`not in time: ${condition}`);
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
}

// Switches an appliance on, with factory settings, behind "busybox" or "lighttpd".
export async function house(server) {
  const folder = `${project}build/browser/${server}`;
  const root = `${folder}/root`;
  const port = await freePort();
  mkdirSync(folder, { recursive: true });
  rmSync(root, { recursive: true, force: true });
  const started = [];
  const run = (command, args) => {
    const output = [];
    const child = spawn(command, args, { env: { PATH: process.env.PATH }, stdio: ["ignore", "pipe", "pipe"] });
    for (const stream of [child.stdout, child.stderr]) stream.on("data", (text) => output.push(text));
    child.on("exit", (code) => code && console.error(`${command}: ${output.join("")}`));
    started.push(child);
    return output;
  };
  const commentary = run(`${project}lab/appliance.sh`,
    ["--port", String(port), "--reset", root, process.env.NAT_PROGRAM ?? `${project}build/nat.cgi`, `${project}build/www`]);
  await until(() => commentary.join("").includes("is on:"));

  const site = { root, base: `http://127.0.0.1:${port}`, options: {} };
  if (server === "lighttpd") await behindLighttpd(site, folder, run);
  const browser = await chromium.launch({ executablePath: "/usr/bin/chromium", args: FLAGS });
  return {
    ...site,
    file: (path) => readFileSync(`${root}${path}`, "utf8"),
    write(path, text) {
      rmSync(`${root}${path}`, { recursive: true, force: true });
      writeFileSync(`${root}${path}`, text);
    },
    // A file that cannot be read: even root reads no folder.
    replaceByFolder(path) {
      rmSync(`${root}${path}`);
      mkdirSync(`${root}${path}`);
    },
    view: (name) => `${site.base}/nat.cgi?next_file=${name}`,
    context: (options) => browser.newContext({ ...site.options, ...options }),
    until,
    async close() {
      await browser.close();
      for (const child of started.reverse()) {
        child.kill("SIGTERM");
        if (child.exitCode === null) await new Promise((resolve) => child.on("exit", resolve));
      }
    },
  };
}

// The configuration that is shipped, with what an administrator adapts.
async function behindLighttpd(site, folder, run) {
  const [https, http] = [await freePort(), await freePort()];
  const key = execFileSync("openssl", ["req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
    "-subj", "/CN=box", "-keyout", "-"], { stdio: ["ignore", "pipe", "ignore"] });
  writeFileSync(`${folder}/server.pem`, key, { mode: 0o600 });
  writeFileSync(`${folder}/passwd`, `admin:${String(execFileSync("openssl", ["passwd", "-6", "secret"])).trim()}\n`);
  const enter = `unshare ${process.getuid() ? "--user --map-root-user " : ""}--root=${site.root} --wd=/www`;
  writeFileSync(`${folder}/nat.cgi`, `#!/bin/sh\nexec ${enter} /usr/lib/quillstead/nat.cgi\n`, { mode: 0o755 });
  const own = { address: "127.0.0.1", lan: "127.0.0.0/8", https, http, pages: `${site.root}/www`,
    program: `${folder}/nat.cgi`, private: folder };
  let text = readFileSync(`${project}deploy/lighttpd.conf`, "utf8");
  for (const [name, value] of Object.entries(own))
    text = text.replace(new RegExp(`^(var\\.${name}\\s*=\\s*)".*?"`, "m"), `$1"${value}"`);
  writeFileSync(`${folder}/lighttpd.conf`, text);
  run("/usr/sbin/lighttpd", ["-D", "-f", `${folder}/lighttpd.conf`]);
  site.base = `https://127.0.0.1:${https}`;
  site.options = { ignoreHTTPSErrors: true, httpCredentials: { username: "admin", password: "secret" } };
  await until(() => fetch(`http://127.0.0.1:${http}/`, { redirect: "manual" }).then(() => true, () => false));
}
