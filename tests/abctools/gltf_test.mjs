// Every scene that abctool writes has to please the validator of the format's makers, without an error and a warning.
// Arguments: node_modules, abctool, zoltexport, a folder of scenes.
import { execFileSync } from 'node:child_process'
import { mkdtempSync, readFileSync, readdirSync, rmSync } from 'node:fs'
import { createRequire } from 'node:module'
import { tmpdir } from 'node:os'
import { join } from 'node:path'

const [modules, abctool, zoltexport, scenes] = process.argv.slice(2)
const validator = createRequire(join(modules, 'x.js'))('gltf-validator')
const folder = mkdtempSync(join(tmpdir(), 'gltf'))
const env = { ...process.env, XDG_CONFIG_HOME: folder, XDG_STATE_HOME: folder }
let failed = false
try {
  for (const scene of readdirSync(scenes).filter((name) => /\.(gltf|glb)$/.test(name))) {
    const model = join(folder, 'model.abc')
    execFileSync(zoltexport, [join(scenes, scene), '--all-clips', '-q', '--overwrite', '-o', model], { env })
    for (const name of ['scene.glb', 'scene.gltf']) {
      const path = join(folder, name)
      execFileSync(abctool, ['convert', model, path])
      const report = await validator.validateBytes(new Uint8Array(readFileSync(path)))
      const found = report.issues.messages.filter((message) => message.severity < 2)
      const animations = report.info.animationCount
      if (found.length > 0 || !animations) {
        failed = true
        console.error(scene, name, animations, found)
      }
    }
  }
} finally {
  rmSync(folder, { recursive: true })
}
process.exit(failed ? 1 : 0)
